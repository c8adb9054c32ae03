#include "SCMGenericData.hpp"

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

}  // namespace SCM
