// The registries of the registry suites, and which storage they run against.
#include "support/TestRegistry.hpp"

#include <libpq-fe.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <random>
#include <stdexcept>

#include "SCMModuleEntry.hpp"
#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"
#include "support/RegistryDriver.hpp"

namespace scm_test {

namespace {

std::optional<std::string> firstLineOf(const std::string& file) {
    std::ifstream in(file);
    std::string line;
    if (!in || !std::getline(in, line) || line.empty()) return std::nullopt;
    return line;
}

// The directory the server's start wrote its base URI (uri) or its absence (unavailable) to.
std::string postgresServerDirectory() {
    const char* directory = std::getenv("SCM_TEST_POSTGRES_DIR");
    return directory != nullptr && *directory != '\0' ? directory : SCM_TEST_POSTGRES_DEFAULT_DIR;
}

// A database name no other test process picks: the process, a counter and a random part.
std::string newDatabaseName() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    return "scm_test_" + std::to_string(::getpid()) + "_" + std::to_string(counter++) + "_" +
           std::to_string(random() % 1000000);
}

// Runs one statement on the server's maintenance database; the error text, "" on success.
std::string runOnServer(const std::string& statement) {
    PGconn* connection = PQconnectdb((postgresBaseUri() + "?connect_timeout=20").c_str());
    std::string error;
    if (PQstatus(connection) != CONNECTION_OK) {
        error = PQerrorMessage(connection);
    } else {
        PGresult* result = PQexec(connection, statement.c_str());
        if (PQresultStatus(result) != PGRES_COMMAND_OK) error = PQresultErrorMessage(result);
        PQclear(result);
    }
    PQfinish(connection);
    return error;
}

}  // namespace

bool postgresqlSelected() {
    const char* driver = std::getenv("SCM_TEST_REGISTRY_DRIVER");
    return driver != nullptr && std::string(driver) == "postgresql";
}

std::optional<std::string> postgresUnavailableReason() {
    if (!postgresqlSelected() || std::filesystem::exists(postgresServerDirectory() + "/uri")) return std::nullopt;
    return firstLineOf(postgresServerDirectory() + "/unavailable");
}

std::string postgresBaseUri() {
    const std::string file = postgresServerDirectory() + "/uri";
    std::optional<std::string> uri = firstLineOf(file);
    if (!uri) throw std::runtime_error("no PostgreSQL server for the tests: " + file + " is missing");
    return *uri;
}

TestRegistry::TestRegistry(std::string sqliteLocation) : location_(std::move(sqliteLocation)) {
    if (postgresqlSelected()) {
        database_ = newDatabaseName();
        const std::string error = runOnServer("CREATE DATABASE \"" + database_ + "\"");
        if (!error.empty()) throw std::runtime_error("cannot create the test database " + database_ + ": " + error);
        const std::string base = postgresBaseUri();  // its database is the last path segment
        location_ = base.substr(0, base.rfind('/') + 1) + database_;
    } else if (location_.empty()) {
        directory_ = std::make_unique<TempDir>();
        location_ = directory_->file("registry.reg");
    }
}

std::string registryDump(const std::string& location) {
    HxInitialize_shared_code_manager();
    SCM::SharedCodeManagerInterface registry(location);
    std::string dump;
    for (int value = SCM::SCM_UTILITIES; value <= SCM::SCM_SHARED_CONSTANTS; ++value) {
        const auto type = static_cast<SCM::SCMTypes>(value);
        std::vector<SCM::SCMIdentity*> identities = registry.retrieveAllIdentities(type);
        std::vector<SCM::SCMData*> records = registry.retrieveAllData(type);
        for (std::size_t i = 0; i < identities.size(); ++i) {
            dump += SCM::scmTypeToString(type) + " " + kobj::encodeObject(identities[i]->toScriptValue());
            if (i < records.size()) dump += " " + kobj::encodeObject(records[i]->toScriptValue());
            dump += "\n";
            delete identities[i];
        }
        for (SCM::SCMData* record : records) delete record;
    }
    return dump;
}

TestRegistry::~TestRegistry() {
    if (database_.empty()) return;
    const std::string error = runOnServer("DROP DATABASE IF EXISTS \"" + database_ + "\" WITH (FORCE)");
    if (!error.empty()) std::cerr << "cannot drop the test database " << database_ << ": " << error << '\n';
}

}  // namespace scm_test
