#include "SCMSharedTypesData.hpp"

namespace SCM {

SCMSharedTypesData::SCMSharedTypesData() = default;

SCMSharedTypesData::SCMSharedTypesData(const std::string& name)
    : SCMSharedTypesDataConstantsData(name) {}

SCMSharedTypesData::SCMSharedTypesData(const SCMSharedTypesData& other)
    : SCMSharedTypesDataConstantsData(other) {}

SCMSharedTypesData::~SCMSharedTypesData() = default;

const char* SCMSharedTypesData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedTypesData";
}

SCMData* SCMSharedTypesData::clone() const { return new SCMSharedTypesData(*this); }

}  // namespace SCM
