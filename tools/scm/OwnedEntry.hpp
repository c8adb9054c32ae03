#pragma once

#include <memory>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"

namespace scm_tool {

// A registry entry held by the tool: an identity and the data record that goes with it, owned.
struct OwnedEntry {
    std::unique_ptr<SCM::SCMIdentity> identity;
    std::unique_ptr<SCM::SCMData> data;
};

}  // namespace scm_tool
