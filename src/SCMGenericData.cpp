#include "SCMGenericData.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SCMGenericData::SCMGenericData() = default;

SCMGenericData::SCMGenericData(const std::string& identifier) : identifier_(identifier) {}

SCMGenericData::SCMGenericData(const SCMGenericData& other) : SCMData(other) {
    setIdentifier(other.getIdentifier());
}

SCMGenericData::~SCMGenericData() = default;

const char* SCMGenericData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.GenericData";
}

SCMRegistry SCMGenericData::update(SCMData* newer) {
    const auto* other = dynamic_cast<const SCMGenericData*>(newer);
    if (other == nullptr || getIdentifier() != other->getIdentifier()) return IS_PRESENT_ERROR;
    return IS_PRESENT_UPDATE;
}

SCMData* SCMGenericData::clone() const { return new SCMGenericData(*this); }

std::string SCMGenericData::getIdentifier() const { return identifier_; }

void SCMGenericData::setIdentifier(const std::string& identifier) { identifier_ = identifier; }

// Publishes "SharedCodeManager.GenericData".
void publishSCMGenericData(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMGenericData> data(builder);
    data.addSuperclass("SharedCodeManager.Data");
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addConstructor<>({});
    data.addProperty("Identifier", kobj::types::kCharVector, kobj::attributes::kNone,
                     &SCMGenericData::getIdentifier, &SCMGenericData::setIdentifier);
}

}  // namespace SCM
