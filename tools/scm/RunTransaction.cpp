#include "RunTransaction.hpp"

#include "ExitCode.hpp"

namespace scm_tool {

RunTransaction::RunTransaction(OpenRegistry& registry) : registry_(registry) {
    if (!registry_.adapter().beginTransaction()) {
        throw ToolError("cannot begin a transaction on the registry \"" + registry_.path() +
                        "\": " + registry_.adapter().getLastError());
    }
}

RunTransaction::~RunTransaction() {
    if (open_) abandon();
}

bool RunTransaction::commit(std::string& reason) {
    open_ = false;
    if (registry_.adapter().endTransaction()) return true;
    reason = registry_.adapter().getLastError();
    return false;
}

void RunTransaction::abandon() {
    open_ = false;
    registry_.discard();  // closing rolls the open transaction back
}

}  // namespace scm_tool
