#include "SCMSharedTypesData.hpp"

#include "package/PublishingRoutines.hpp"

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

// Publishes "SharedCodeManager.SharedTypesData": its constructors only.
void publishSCMSharedTypesData(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMSharedTypesData> data(builder);
    data.addSuperclass("SharedCodeManager.SharedTypesDataConstantsData");
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addConstructor<>({});
}

}  // namespace SCM
