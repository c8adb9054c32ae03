// The integrity check of a registry file: what another program added to its schema is named,
// the registry's own parts are not. (A damaged index is the tool's check's case.)
#include <gtest/gtest.h>

#include "VrexTestSupport.hpp"
#include "support/DirectSql.hpp"

namespace {

using namespace vrex_test;

TEST(IntegrityCheck, NamesTheSchemaObjectsOfAnotherProgram) {
    TempDir dir;
    const std::string file = dir.file("registry.reg");
    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, file), "");
    repository.close();
    scm_test::execSql(file, "CREATE TABLE extra (x); CREATE VIEW peek AS SELECT 1; "
                            "CREATE INDEX \"byName\" ON \"SCM_UTILITIES\" (\"Name\"); CREATE TRIGGER wipe AFTER INSERT "
                            "ON \"SCM_SHARED_FUNCTIONS\" BEGIN DELETE FROM \"SCM_UTILITIES\"; END");
    ASSERT_EQ(openRepository(repository, file), "");
    tvdiag::util::diagnostics diagnostics;
    repository.checkIntegrity(diagnostics);
    const std::string report = diagnostics.toString();
    EXPECT_EQ(identifiers(diagnostics),
              "vrex:integrity:foreign vrex:integrity:foreign vrex:integrity:foreign vrex:integrity:foreign ")
        << report;
    for (const char* part : {"table \"extra\" is", "view \"peek\" is", "index \"byName\" on table \"SCM_UTILITIES\"",
                             "trigger \"wipe\" on table \"SCM_SHARED_FUNCTIONS\" is not part of the registry's schema"}) {
        EXPECT_NE(report.find(part), std::string::npos) << part << "\n" << report;
    }
}

}  // namespace
