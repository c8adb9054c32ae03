#include "SCMSharedTypesDataConstantsIdentity.hpp"

#include "package/ChecksumElementsPublishing.hpp"

#include "digest/SCMChecksumDigest.hpp"

namespace SCM {

SCMSharedTypesDataConstantsIdentity::SCMSharedTypesDataConstantsIdentity(SCMTypes type)
    : SCMIdentity(type) {}

SCMSharedTypesDataConstantsIdentity::SCMSharedTypesDataConstantsIdentity(
    unsigned int e1, unsigned int e2, unsigned int e3, unsigned int e4, SCMTypes type)
    : SCMIdentity(type), element1_(e1), element2_(e2), element3_(e3), element4_(e4) {}

SCMSharedTypesDataConstantsIdentity::SCMSharedTypesDataConstantsIdentity(
    const SCMSharedTypesDataConstantsIdentity& other)
    : SCMIdentity(other), element1_(other.element1_), element2_(other.element2_),
      element3_(other.element3_), element4_(other.element4_) {}

SCMSharedTypesDataConstantsIdentity::~SCMSharedTypesDataConstantsIdentity() = default;

const char* SCMSharedTypesDataConstantsIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedTypesDataConstantsIdentity";
}

// Hashes exactly as SCMSharedFunctionIdentity does, so all four-element keys share one format.
void SCMSharedTypesDataConstantsIdentity::computeChecksum() {
    if (isComputedChecksum()) return;
    setChecksum(fourElementChecksum(element1_, element2_, element3_, element4_));
}

bool SCMSharedTypesDataConstantsIdentity::isAbstract() const { return true; }

// The element setters leave a computed checksum in force.
unsigned int SCMSharedTypesDataConstantsIdentity::getChecksumElement1() const { return element1_; }
unsigned int SCMSharedTypesDataConstantsIdentity::getChecksumElement2() const { return element2_; }
unsigned int SCMSharedTypesDataConstantsIdentity::getChecksumElement3() const { return element3_; }
unsigned int SCMSharedTypesDataConstantsIdentity::getChecksumElement4() const { return element4_; }
void SCMSharedTypesDataConstantsIdentity::setChecksumElement1(unsigned int value) {
    element1_ = value;
}
void SCMSharedTypesDataConstantsIdentity::setChecksumElement2(unsigned int value) {
    element2_ = value;
}
void SCMSharedTypesDataConstantsIdentity::setChecksumElement3(unsigned int value) {
    element3_ = value;
}
void SCMSharedTypesDataConstantsIdentity::setChecksumElement4(unsigned int value) {
    element4_ = value;
}

// Publishes "SharedCodeManager.SharedTypesDataConstantsIdentity": the four elements; no
// constructor, the class is abstract.
void publishSCMSharedTypesDataConstantsIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMSharedTypesDataConstantsIdentity> identity(builder);
    identity.addSuperclass("SharedCodeManager.Identity");
    addChecksumElementProperties(identity);
}

}  // namespace SCM
