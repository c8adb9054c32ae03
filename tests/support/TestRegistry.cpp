#include "support/TestRegistry.hpp"

#include <libpq-fe.h>
#include <unistd.h>

#include <atomic>
#include <iostream>
#include <random>
#include <stdexcept>

#include "support/RegistryDriver.hpp"

namespace scm_test {

namespace {

// A database name no other test process picks: the process, a counter and a random part.
std::string newDatabaseName() {
    static std::atomic<unsigned> counter{0};
    std::random_device random;
    return "scm_test_" + std::to_string(::getpid()) + "_" + std::to_string(counter++) + "_" +
           std::to_string(random() % 1000000);
}

// `base` with its database (the last path segment) replaced by `database`.
std::string uriOfDatabase(const std::string& base, const std::string& database) {
    return base.substr(0, base.rfind('/') + 1) + database;
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

TestRegistry::TestRegistry() {
    if (postgresqlSelected()) {
        createDatabase();
        return;
    }
    directory_ = std::make_unique<TempDir>();
    location_ = directory_->file("registry.reg");
}

TestRegistry::TestRegistry(std::string sqliteLocation) {
    if (postgresqlSelected()) {
        createDatabase();
        return;
    }
    location_ = std::move(sqliteLocation);
}

void TestRegistry::createDatabase() {
    database_ = newDatabaseName();
    const std::string error = runOnServer("CREATE DATABASE \"" + database_ + "\"");
    if (!error.empty()) throw std::runtime_error("cannot create the test database " + database_ + ": " + error);
    location_ = uriOfDatabase(postgresBaseUri(), database_);
}

TestRegistry::~TestRegistry() {
    if (database_.empty()) return;
    const std::string error = runOnServer("DROP DATABASE IF EXISTS \"" + database_ + "\" WITH (FORCE)");
    if (!error.empty()) std::cerr << "cannot drop the test database " << database_ << ": " << error << '\n';
}

}  // namespace scm_test
