#include "SCMSharedFunctionIdentity.hpp"

#include "package/ChecksumElementsPublishing.hpp"

#include "digest/SCMChecksumDigest.hpp"

namespace SCM {

SCMSharedFunctionIdentity::SCMSharedFunctionIdentity() : SCMIdentity(SCM_SHARED_FUNCTIONS) {}

SCMSharedFunctionIdentity::SCMSharedFunctionIdentity(unsigned int e1, unsigned int e2,
                                                     unsigned int e3, unsigned int e4)
    : SCMIdentity(SCM_SHARED_FUNCTIONS), element1_(e1), element2_(e2), element3_(e3),
      element4_(e4) {}

SCMSharedFunctionIdentity::SCMSharedFunctionIdentity(const SCMSharedFunctionIdentity& other)
    : SCMIdentity(other), element1_(other.element1_), element2_(other.element2_),
      element3_(other.element3_), element4_(other.element4_) {}

SCMSharedFunctionIdentity::~SCMSharedFunctionIdentity() = default;

const char* SCMSharedFunctionIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedFunctionIdentity";
}

void SCMSharedFunctionIdentity::computeChecksum() {
    if (isComputedChecksum()) return;
    setChecksum(fourElementChecksum(element1_, element2_, element3_, element4_));
}

SCMIdentity* SCMSharedFunctionIdentity::clone() const {
    return new SCMSharedFunctionIdentity(*this);
}

// The element setters leave a computed checksum in force.
unsigned int SCMSharedFunctionIdentity::getChecksumElement1() const { return element1_; }
unsigned int SCMSharedFunctionIdentity::getChecksumElement2() const { return element2_; }
unsigned int SCMSharedFunctionIdentity::getChecksumElement3() const { return element3_; }
unsigned int SCMSharedFunctionIdentity::getChecksumElement4() const { return element4_; }
void SCMSharedFunctionIdentity::setChecksumElement1(unsigned int value) { element1_ = value; }
void SCMSharedFunctionIdentity::setChecksumElement2(unsigned int value) { element2_ = value; }
void SCMSharedFunctionIdentity::setChecksumElement3(unsigned int value) { element3_ = value; }
void SCMSharedFunctionIdentity::setChecksumElement4(unsigned int value) { element4_ = value; }

// Publishes "SharedCodeManager.SharedFunctionIdentity".
void publishSCMSharedFunctionIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMSharedFunctionIdentity> identity(builder);
    identity.addSuperclass("SharedCodeManager.Identity");
    addChecksumElementConstructors(identity);
    addChecksumElementProperties(identity);
}

}  // namespace SCM
