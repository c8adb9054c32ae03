// The registries the registry suites get: on SQLite a path whose directory lives as long as the
// registry; on PostgreSQL a database of its own that exists exactly as long as the registry.
#include <gtest/gtest.h>
#include <libpq-fe.h>

#include <filesystem>
#include <string>

#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

namespace fs = std::filesystem;

// What connecting to `uri` gives: the database's name, or the server's error.
std::string connectTo(const std::string& uri) {
    PGconn* connection = PQconnectdb(uri.c_str());
    std::string answer;
    if (PQstatus(connection) != CONNECTION_OK) {
        answer = PQerrorMessage(connection);
    } else {
        PGresult* result = PQexec(connection, "SELECT current_database()");
        answer = PQresultStatus(result) == PGRES_TUPLES_OK ? PQgetvalue(result, 0, 0) : PQresultErrorMessage(result);
        PQclear(result);
    }
    PQfinish(connection);
    return answer;
}

std::string databaseOf(const std::string& uri) { return uri.substr(uri.rfind('/') + 1); }

TEST(TestRegistry, APostgreSQLRegistryIsADatabaseOfItsOwnDroppedAtTheEnd) {
    if (!scm_test::postgresqlSelected()) GTEST_SKIP() << "checks the PostgreSQL variant";
    std::string first;
    {
        scm_test::TestRegistry registry;
        scm_test::TestRegistry other;
        first = registry.location();
        ASSERT_EQ(first.rfind("postgresql://", 0), 0u) << first;
        EXPECT_NE(databaseOf(first), databaseOf(other.location()));
        EXPECT_EQ(connectTo(first), databaseOf(first));
        EXPECT_EQ(connectTo(other.location()), databaseOf(other.location()));
    }
    const std::string afterwards = connectTo(first);
    EXPECT_NE(afterwards.find("database \"" + databaseOf(first) + "\" does not exist"), std::string::npos)
        << afterwards;
}

TEST(TestRegistry, ASQLiteRegistryIsAFileWhoseDirectoryGoesWithIt) {
    if (scm_test::postgresqlSelected()) GTEST_SKIP() << "checks the SQLite variant";
    fs::path directory;
    {
        scm_test::TestRegistry registry;
        scm_test::TestRegistry given("kept/registry.scm");
        EXPECT_EQ(given.location(), "kept/registry.scm");
        directory = fs::path(registry.location()).parent_path();
        EXPECT_TRUE(fs::is_directory(directory));
        EXPECT_FALSE(fs::exists(registry.location())) << "made by the first open";
    }
    EXPECT_FALSE(fs::exists(directory));
}

}  // namespace
