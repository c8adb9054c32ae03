#pragma once

#include "SCMSharedTypesDataConstantsIdentity.hpp"

namespace SCM {

// Key of a shared datum (category SCM_SHARED_DATA).
class SCM_EXPORT SCMSharedDataIdentity : public SCMSharedTypesDataConstantsIdentity {
public:
    SCMSharedDataIdentity();
    SCMSharedDataIdentity(unsigned int e1, unsigned int e2, unsigned int e3, unsigned int e4);
    SCMSharedDataIdentity(const SCMSharedDataIdentity& other);
    ~SCMSharedDataIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    SCMIdentity* clone() const override;
};

}  // namespace SCM
