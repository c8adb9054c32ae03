#include "LibraryEntries.hpp"

#include "Workload.hpp"

namespace bench {

std::unique_ptr<SCM::SCMBasicUtilityIdentity> utilityIdentity(std::uint64_t i) {
    return std::make_unique<SCM::SCMBasicUtilityIdentity>(utilityName(i));
}

std::unique_ptr<SCM::SCMBasicUtilityData> utilityData(std::uint64_t i) {
    const std::string name = utilityName(i);
    auto data = std::make_unique<SCM::SCMBasicUtilityData>(name + "_rtw", name);
    data->setName(name);
    for (int which = 0; which < 2; ++which) {
        data->addModelName(modelName(i, which));
        data->addChild(childName(i, which));
        data->addTraceability(traceabilityEntry(i, which));
    }
    return data;
}

std::unique_ptr<SCM::SCMBasicUtilityData> mergingUtilityData(std::uint64_t i) {
    const std::string name = utilityName(i);
    auto data = std::make_unique<SCM::SCMBasicUtilityData>(name + "_rtw", name);
    data->setName(name);
    data->addModelName("model_merging");
    data->addTraceability("model_merging:" + name + ".c:7");
    return data;
}

std::unique_ptr<SCM::SCMSharedFunctionIdentity> functionIdentity(std::uint64_t i) {
    const auto element = static_cast<unsigned int>(i);
    return std::make_unique<SCM::SCMSharedFunctionIdentity>(element, ~element, element * 7u, 42u);
}

std::unique_ptr<SCM::SCMSharedFunctionData> functionData(std::uint64_t i) {
    const std::string name = "fcn_" + utilityName(i);
    auto data = std::make_unique<SCM::SCMSharedFunctionData>(name, name + ".c");
    data->setName(name);
    return data;
}

}  // namespace bench
