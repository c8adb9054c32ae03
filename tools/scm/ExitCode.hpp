#pragma once

#include <stdexcept>

namespace scm_tool {

// What every command of the tool answers, for people and build scripts.
enum ExitCode : int {
    kExitOk = 0,        // done, nothing to report
    kExitFindings = 1,  // done, with clashes (register), problems (check) or nothing found (show)
    kExitError = 2,     // bad arguments or input, a registry that cannot be opened or written
};

// A failure that ends a command: the tool prints "scm: <message>" on standard error and exits
// with kExitError.
class ToolError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

}  // namespace scm_tool
