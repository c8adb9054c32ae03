#include "tvdiag/diagnostics.hpp"

namespace tvdiag::util {

diagnostics diagnostics::getEmptyInstance() { return diagnostics(); }

void diagnostics::add(std::string identifier, std::string message) {
    records_.push_back({std::move(identifier), std::move(message)});
}

std::string diagnostics::toString() const {
    std::string text;
    for (const diagnostic& record : records_) {
        if (!text.empty()) text += '\n';
        text += record.identifier + ": " + record.message;
    }
    return text;
}

std::string diagnostics::messages() const {
    std::string text;
    for (const diagnostic& record : records_) {
        if (!text.empty()) text += '\n';
        text += record.message;
    }
    return text;
}

}  // namespace tvdiag::util
