#include "SCMSharedConstantsIdentity.hpp"

#include "package/ChecksumElementsPublishing.hpp"

namespace SCM {

SCMSharedConstantsIdentity::SCMSharedConstantsIdentity() : SCMSharedTypesDataConstantsIdentity(SCM_SHARED_CONSTANTS) {}

SCMSharedConstantsIdentity::SCMSharedConstantsIdentity(unsigned int e1, unsigned int e2, unsigned int e3,
                                         unsigned int e4)
    : SCMSharedTypesDataConstantsIdentity(e1, e2, e3, e4, SCM_SHARED_CONSTANTS) {}

SCMSharedConstantsIdentity::SCMSharedConstantsIdentity(const SCMSharedConstantsIdentity& other)
    : SCMSharedTypesDataConstantsIdentity(other) {}

SCMSharedConstantsIdentity::~SCMSharedConstantsIdentity() = default;

const char* SCMSharedConstantsIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedConstantsIdentity";
}

SCMIdentity* SCMSharedConstantsIdentity::clone() const { return new SCMSharedConstantsIdentity(*this); }

// Publishes "SharedCodeManager.SharedConstantsIdentity": its constructors only.
void publishSCMSharedConstantsIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMSharedConstantsIdentity> identity(builder);
    identity.addSuperclass("SharedCodeManager.SharedTypesDataConstantsIdentity");
    addChecksumElementConstructors(identity);
}

}  // namespace SCM
