#pragma once

#include "SCMSharedTypesDataConstantsIdentity.hpp"

namespace SCM {

// Key of a shared type (category SCM_SHARED_TYPES).
class SCM_EXPORT SCMSharedTypesIdentity : public SCMSharedTypesDataConstantsIdentity {
public:
    SCMSharedTypesIdentity();
    SCMSharedTypesIdentity(unsigned int e1, unsigned int e2, unsigned int e3, unsigned int e4);
    SCMSharedTypesIdentity(const SCMSharedTypesIdentity& other);
    ~SCMSharedTypesIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    SCMIdentity* clone() const override;
};

}  // namespace SCM
