#include "SCMMultiWordFcnData.hpp"

#include <algorithm>

#include "package/PublishingRoutines.hpp"

namespace SCM {

SCMMultiWordFcnData::SCMMultiWordFcnData() = default;

SCMMultiWordFcnData::SCMMultiWordFcnData(const std::string& fcnName) { addFcnName(fcnName); }

SCMMultiWordFcnData::SCMMultiWordFcnData(const std::vector<std::string>& fcnNames) {
    setFcnNames(fcnNames);
}

SCMMultiWordFcnData::SCMMultiWordFcnData(const SCMMultiWordFcnData& other) : SCMData(other) {
    setFcnNames(other.getFcnNames());
}

SCMMultiWordFcnData::~SCMMultiWordFcnData() = default;

const char* SCMMultiWordFcnData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.MultiWordFcnData";
}

// No key is compared: the list is one growing union. A record of another class adds nothing.
SCMRegistry SCMMultiWordFcnData::update(SCMData* newer) {
    if (const auto* other = dynamic_cast<const SCMMultiWordFcnData*>(newer)) {
        for (const std::string& name : other->getFcnNames()) addFcnName(name);
    }
    return IS_PRESENT_UPDATE;
}

SCMData* SCMMultiWordFcnData::clone() const { return new SCMMultiWordFcnData(*this); }

std::vector<std::string> SCMMultiWordFcnData::getFcnNames() const { return fcnNames_; }

void SCMMultiWordFcnData::setFcnNames(const std::vector<std::string>& fcnNames) {
    fcnNames_ = fcnNames;
}

void SCMMultiWordFcnData::addFcnName(const std::string& fcnName) {
    if (std::find(fcnNames_.begin(), fcnNames_.end(), fcnName) == fcnNames_.end()) {
        fcnNames_.push_back(fcnName);
    }
}

// Publishes "SharedCodeManager.MultiWordFcnData"; its list is published as "MultiWordFunctions".
void publishSCMMultiWordFcnData(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMMultiWordFcnData> data(builder);
    data.addSuperclass("SharedCodeManager.Data");
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addConstructor<>({});
    data.addProperty("MultiWordFunctions", kobj::types::kCell, kobj::attributes::kNone,
                     &SCMMultiWordFcnData::getFcnNames, &SCMMultiWordFcnData::setFcnNames);
}

}  // namespace SCM
