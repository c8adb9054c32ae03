#pragma once

#include <cstdint>
#include <memory>
#include <string>

#include "SCMBasicUtilityData.hpp"
#include "SCMBasicUtilityIdentity.hpp"
#include "SCMSharedFunctionData.hpp"
#include "SCMSharedFunctionIdentity.hpp"

// The library objects of the benchmark registry's entries (see Workload.hpp). The caller owns
// every object returned.
namespace bench {

std::unique_ptr<SCM::SCMBasicUtilityIdentity> utilityIdentity(std::uint64_t i);
// The record of entry i as first registered.
std::unique_ptr<SCM::SCMBasicUtilityData> utilityData(std::uint64_t i);
// A later registration of entry i from another model: it merges (IS_PRESENT_UPDATE).
std::unique_ptr<SCM::SCMBasicUtilityData> mergingUtilityData(std::uint64_t i);

std::unique_ptr<SCM::SCMSharedFunctionIdentity> functionIdentity(std::uint64_t i);
std::unique_ptr<SCM::SCMSharedFunctionData> functionData(std::uint64_t i);

}  // namespace bench
