#pragma once

#include <string>
#include <vector>

namespace vrex::internal {

// A registry location of the form postgresql://[user[:password]@]host[:port]/database[?k=v&...]
// (or postgres://...), as libpq reads it.
class PostgresUri {
public:
    // Whether `location` names a PostgreSQL database rather than a file.
    static bool matches(const std::string& location);

    explicit PostgresUri(std::string uri);

    const std::string& text() const { return uri_; }
    // The URI with its password (in the user part or a password= parameter) replaced by "***":
    // the registry's name in every message.
    const std::string& redacted() const { return redacted_; }
    // The password as written and as decoded from %-escapes (empty when there is none).
    const std::vector<std::string>& secrets() const { return secrets_; }

private:
    void redactUserPassword();
    void redactPasswordParameter();
    void keepSecret(const std::string& written);

    std::string uri_;
    std::string redacted_;
    std::vector<std::string> secrets_;
};

}  // namespace vrex::internal
