#pragma once

#include <string>
#include <vector>

namespace vrex::internal {

// A registry location of the form postgresql://[user[:password]@]host[:port]/database[?k=v&...]
// (or postgres://...), as libpq reads it.
class PostgresUri {
public:
    explicit PostgresUri(std::string uri);

    const std::string& text() const { return uri_; }
    // The URI with its secrets (the password of the user part, and the value of every parameter
    // libpq takes as a password field: password=, sslpassword=, also %-escaped) replaced by "***":
    // the registry's name in every message. A URI libpq cannot read shows only its scheme.
    const std::string& redacted() const { return redacted_; }
    // The secrets as written and as decoded from %-escapes (empty when there is none): blanked
    // from every text the server or libpq gives back.
    const std::vector<std::string>& secrets() const { return secrets_; }

private:
    void redactUserPassword();
    void redactPasswordParameters();
    void keepParsedSecrets();
    void keepSecret(const std::string& written);

    std::string uri_;
    std::string redacted_;
    std::vector<std::string> secrets_;
};

}  // namespace vrex::internal
