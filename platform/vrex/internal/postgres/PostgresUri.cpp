#include "vrex/internal/postgres/PostgresUri.hpp"

#include <libpq-fe.h>

#include <cctype>
#include <cstdlib>
#include <algorithm>
#include <cstring>
#include <memory>
#include <set>

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

bool isPasswordField(const PQconninfoOption& option) {
    return option.dispchar != nullptr && std::strchr(option.dispchar, '*') != nullptr;
}

// The connection parameters libpq itself shows masked (its password fields: password,
// sslpassword, ...), so that what is hidden here and what libpq reads can never disagree.
bool isSecretParameter(const std::string& keyword) {
    static const std::set<std::string> secret = [] {
        std::set<std::string> names;
        PQconninfoOption* options = PQconndefaults();
        for (const PQconninfoOption* option = options; option != nullptr && option->keyword != nullptr;
             ++option) {
            if (isPasswordField(*option)) names.insert(option->keyword);
        }
        PQconninfoFree(options);
        return names;
    }();
    return secret.count(keyword) > 0;
}

}  // namespace

PostgresUri::PostgresUri(std::string uri) : uri_(std::move(uri)), redacted_(uri_) {
    redactUserPassword();
    redactPasswordParameters();
    keepParsedSecrets();
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

// Every key=value of the query whose key, %-decoded as libpq decodes it, is a password field.
void PostgresUri::redactPasswordParameters() {
    std::size_t query = redacted_.find('?');
    while (query != std::string::npos) {
        const std::size_t start = query + 1;
        const std::size_t end = redacted_.find('&', start);
        const std::string parameter = redacted_.substr(start, end - start);
        const std::size_t equals = parameter.find('=');
        if (equals != std::string::npos &&
            isSecretParameter(percentDecoded(parameter.substr(0, equals)))) {
            keepSecret(parameter.substr(equals + 1));
            redacted_.replace(start + equals + 1, parameter.size() - equals - 1, "***");
        }
        query = redacted_.find('&', start);
    }
}

// The secrets as libpq reads them, in case they were written in a way the redaction above does
// not take apart. Should one of them still show in the redacted text, however escaped, libpq
// and the redaction disagree about the URI: it is then shown only up to its scheme, as is a URI
// libpq cannot read.
void PostgresUri::keepParsedSecrets() {
    char* error = nullptr;
    std::unique_ptr<PQconninfoOption, decltype(&PQconninfoFree)> options(
        PQconninfoParse(uri_.c_str(), &error), &PQconninfoFree);
    PQfreemem(error);
    const std::string onlyScheme = uri_.substr(0, uri_.find("://") + 3) + "***";
    if (options == nullptr) {
        redacted_ = onlyScheme;
        return;
    }
    const std::string shown = percentDecoded(redacted_);
    for (const PQconninfoOption* option = options.get(); option->keyword != nullptr; ++option) {
        if (!isPasswordField(*option) || option->val == nullptr || *option->val == '\0') continue;
        if (std::find(secrets_.begin(), secrets_.end(), option->val) == secrets_.end()) {
            secrets_.push_back(option->val);
        }
        if (shown.find(option->val) != std::string::npos) redacted_ = onlyScheme;
    }
}

void PostgresUri::keepSecret(const std::string& written) {
    if (written.empty()) return;
    secrets_.push_back(written);
    const std::string decoded = percentDecoded(written);
    if (decoded != written && !decoded.empty()) secrets_.push_back(decoded);
}

}  // namespace vrex::internal
