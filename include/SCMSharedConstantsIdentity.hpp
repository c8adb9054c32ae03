#pragma once

#include "SCMSharedTypesDataConstantsIdentity.hpp"

namespace SCM {

// Key of a shared constant (category SCM_SHARED_CONSTANTS).
class SCM_EXPORT SCMSharedConstantsIdentity : public SCMSharedTypesDataConstantsIdentity {
public:
    SCMSharedConstantsIdentity();
    SCMSharedConstantsIdentity(unsigned int e1, unsigned int e2, unsigned int e3, unsigned int e4);
    SCMSharedConstantsIdentity(const SCMSharedConstantsIdentity& other);
    ~SCMSharedConstantsIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    SCMIdentity* clone() const override;
};

}  // namespace SCM
