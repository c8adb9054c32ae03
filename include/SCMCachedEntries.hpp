#pragma once

#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"

namespace SCM {

// One write-cache entry: the cache's copies of an identity and of the data record registered with
// it. Shared: whoever holds the pair keeps both objects alive.
using SCMCachedEntry = std::pair<std::shared_ptr<SCMIdentity>, std::shared_ptr<SCMData>>;

// The write-cache entries that a failed batch left unwritten, and why.
struct SCMBatchFailures {
    std::vector<SCMCachedEntry> entries;
    // The messages of the batch's dictionary errors (they name the registry and the error, such
    // as a write lock held elsewhere), one per line; "" when `entries` is empty.
    std::string reason;
};

}  // namespace SCM
