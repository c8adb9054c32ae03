#include "SCMSharedTypesIdentity.hpp"

#include "package/ChecksumElementsPublishing.hpp"

namespace SCM {

SCMSharedTypesIdentity::SCMSharedTypesIdentity() : SCMSharedTypesDataConstantsIdentity(SCM_SHARED_TYPES) {}

SCMSharedTypesIdentity::SCMSharedTypesIdentity(unsigned int e1, unsigned int e2, unsigned int e3,
                                         unsigned int e4)
    : SCMSharedTypesDataConstantsIdentity(e1, e2, e3, e4, SCM_SHARED_TYPES) {}

SCMSharedTypesIdentity::SCMSharedTypesIdentity(const SCMSharedTypesIdentity& other)
    : SCMSharedTypesDataConstantsIdentity(other) {}

SCMSharedTypesIdentity::~SCMSharedTypesIdentity() = default;

const char* SCMSharedTypesIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedTypesIdentity";
}

SCMIdentity* SCMSharedTypesIdentity::clone() const { return new SCMSharedTypesIdentity(*this); }

// Publishes "SharedCodeManager.SharedTypesIdentity": its constructors only.
void publishSCMSharedTypesIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMSharedTypesIdentity> identity(builder);
    identity.addSuperclass("SharedCodeManager.SharedTypesDataConstantsIdentity");
    addChecksumElementConstructors(identity);
}

}  // namespace SCM
