#pragma once

#include "OpenRegistry.hpp"

namespace scm_tool {

// The one transaction of a registration run, held for its scope: the constructor begins it,
// commit() commits it, and a run that ends any other way (an early error, an exception, a run
// abandoned on purpose) is rolled back by closing the registry, so nothing of it is kept. The
// registry stays the caller's and must outlive this.
class RunTransaction {
public:
    // Throws ToolError, with the registry's reason (a lock held too long by another process, a
    // lost connection), when the transaction cannot begin.
    explicit RunTransaction(OpenRegistry& registry);
    ~RunTransaction();
    RunTransaction(const RunTransaction&) = delete;
    RunTransaction& operator=(const RunTransaction&) = delete;

    // Commits the run. Returns false, with the registry's reason in `reason`, when the commit
    // failed: nothing was kept then either.
    bool commit(std::string& reason);
    // Rolls the run back now.
    void abandon();

private:
    OpenRegistry& registry_;
    bool open_ = true;
};

}  // namespace scm_tool
