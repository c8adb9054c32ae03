#include "support/RegistryDriver.hpp"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <stdexcept>

namespace scm_test {

namespace {

std::optional<std::string> firstLineOf(const std::string& file) {
    std::ifstream in(file);
    std::string line;
    if (!in || !std::getline(in, line) || line.empty()) return std::nullopt;
    return line;
}

}  // namespace

bool postgresqlSelected() {
    const char* driver = std::getenv("SCM_TEST_REGISTRY_DRIVER");
    return driver != nullptr && std::string(driver) == "postgresql";
}

std::string postgresServerDirectory() {
    const char* directory = std::getenv("SCM_TEST_POSTGRES_DIR");
    return directory != nullptr && *directory != '\0' ? directory : SCM_TEST_POSTGRES_DEFAULT_DIR;
}

std::optional<std::string> postgresUnavailableReason() {
    if (!postgresqlSelected()) return std::nullopt;
    if (std::filesystem::exists(postgresServerDirectory() + "/uri")) return std::nullopt;
    return firstLineOf(postgresServerDirectory() + "/unavailable");
}

std::string postgresBaseUri() {
    const std::string file = postgresServerDirectory() + "/uri";
    std::optional<std::string> uri = firstLineOf(file);
    if (!uri) throw std::runtime_error("no PostgreSQL server for the tests: " + file + " is missing");
    return *uri;
}

}  // namespace scm_test
