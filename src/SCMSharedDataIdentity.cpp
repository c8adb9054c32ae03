#include "SCMSharedDataIdentity.hpp"

#include "package/ChecksumElementsPublishing.hpp"

namespace SCM {

SCMSharedDataIdentity::SCMSharedDataIdentity() : SCMSharedTypesDataConstantsIdentity(SCM_SHARED_DATA) {}

SCMSharedDataIdentity::SCMSharedDataIdentity(unsigned int e1, unsigned int e2, unsigned int e3,
                                         unsigned int e4)
    : SCMSharedTypesDataConstantsIdentity(e1, e2, e3, e4, SCM_SHARED_DATA) {}

SCMSharedDataIdentity::SCMSharedDataIdentity(const SCMSharedDataIdentity& other)
    : SCMSharedTypesDataConstantsIdentity(other) {}

SCMSharedDataIdentity::~SCMSharedDataIdentity() = default;

const char* SCMSharedDataIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedDataIdentity";
}

SCMIdentity* SCMSharedDataIdentity::clone() const { return new SCMSharedDataIdentity(*this); }

// Publishes "SharedCodeManager.SharedDataIdentity": its constructors only.
void publishSCMSharedDataIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMSharedDataIdentity> identity(builder);
    identity.addSuperclass("SharedCodeManager.SharedTypesDataConstantsIdentity");
    addChecksumElementConstructors(identity);
}

}  // namespace SCM
