#pragma once

#include <functional>
#include <string>
#include <vector>

#include "SCMProvenanceReader.hpp"

namespace scm_tool {

// A registry's provenance opened for a reading command (runs, explain, stats): the library's
// reader, which never creates or changes anything. A registry made before runs were recorded
// has none. Every read throws ToolError when the registry cannot be read to the end.
class RunHistory {
public:
    // Throws ToolError, with the library's reason, when the registry cannot be opened.
    explicit RunHistory(const std::string& path);

    // The runs recorded since `since` (an ISO 8601 UTC text, "" for all), the newest first.
    std::vector<SCM::SCMRun> runs(const std::string& since);
    // Calls `visit` with every run, in the order recorded.
    void forEachRun(const std::function<void(const SCM::SCMRun&)>& visit);
    // What every run did with the entry `checksum` of `category`, in the order recorded.
    std::vector<SCM::SCMRunEntry> entryHistory(const std::string& category, const std::string& checksum);
    // The run `id`; one with only its id when it is not recorded.
    SCM::SCMRun run(const std::string& id);

private:
    SCM::SCMProvenanceReader reader_;
};

// `text` as the ISO 8601 UTC time a --since option means: a date (YYYY-MM-DD, its midnight UTC)
// or a time (YYYY-MM-DDTHH:MM:SSZ). Throws ToolError for anything else.
std::string sinceTime(const std::string& text);

}  // namespace scm_tool
