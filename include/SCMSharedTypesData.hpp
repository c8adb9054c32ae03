#pragma once

#include <string>

#include "SCMSharedTypesDataConstantsData.hpp"

namespace SCM {

// Record of a shared type definition.
class SCM_EXPORT SCMSharedTypesData : public SCMSharedTypesDataConstantsData {
public:
    SCMSharedTypesData();
    explicit SCMSharedTypesData(const std::string& name);
    SCMSharedTypesData(const SCMSharedTypesData& other);
    SCMSharedTypesData& operator=(const SCMSharedTypesData&) = default;
    ~SCMSharedTypesData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    SCMData* clone() const override;
};

}  // namespace SCM
