#include "vrex/internal/PostgresUri.hpp"

#include <cctype>
#include <cstdlib>

namespace vrex::internal {

namespace {

std::string percentDecoded(const std::string& text) {
    std::string decoded;
    for (std::size_t i = 0; i < text.size(); ++i) {
        if (text[i] == '%' && i + 2 < text.size() && std::isxdigit(static_cast<unsigned char>(text[i + 1])) &&
            std::isxdigit(static_cast<unsigned char>(text[i + 2]))) {
            decoded += static_cast<char>(std::strtol(text.substr(i + 1, 2).c_str(), nullptr, 16));
            i += 2;
        } else {
            decoded += text[i];
        }
    }
    return decoded;
}

}  // namespace

bool PostgresUri::matches(const std::string& location) {
    return location.rfind("postgresql://", 0) == 0 || location.rfind("postgres://", 0) == 0;
}

PostgresUri::PostgresUri(std::string uri) : uri_(std::move(uri)), redacted_(uri_) {
    redactUserPassword();
    redactPasswordParameter();
}

// The password sits between the first ':' and the last '@' of the part before the host.
void PostgresUri::redactUserPassword() {
    const std::size_t start = redacted_.find("://") + 3;
    const std::size_t authorityEnd = redacted_.find_first_of("/?", start);
    const std::string authority = redacted_.substr(start, authorityEnd - start);
    const std::size_t at = authority.rfind('@');
    if (at == std::string::npos) return;
    const std::size_t colon = authority.find(':');
    if (colon == std::string::npos || colon > at) return;
    keepSecret(authority.substr(colon + 1, at - colon - 1));
    redacted_.replace(start + colon + 1, at - colon - 1, "***");
}

void PostgresUri::redactPasswordParameter() {
    std::size_t query = redacted_.find('?');
    while (query != std::string::npos) {
        const std::size_t start = query + 1;
        const std::size_t end = redacted_.find('&', start);
        const std::string parameter = redacted_.substr(start, end - start);
        if (parameter.rfind("password=", 0) == 0) {
            keepSecret(parameter.substr(9));
            redacted_.replace(start + 9, parameter.size() - 9, "***");
        }
        query = redacted_.find('&', start);
    }
}

void PostgresUri::keepSecret(const std::string& written) {
    if (written.empty()) return;
    secrets_.push_back(written);
    const std::string decoded = percentDecoded(written);
    if (decoded != written && !decoded.empty()) secrets_.push_back(decoded);
}

}  // namespace vrex::internal
