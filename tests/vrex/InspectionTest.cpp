// Reading what a registry file holds as it lies on disk: stored texts and the integrity check.
#include <gtest/gtest.h>

#include "VrexTestSupport.hpp"
#include "support/DirectSql.hpp"

namespace {

using namespace vrex_test;
using scm_test::execSql;

class InspectionTest : public ::testing::Test {
protected:
    void SetUp() override {
        ASSERT_EQ(openRepository(repository_, file_), "");
        const Category functions(repository_, "SCM_SHARED_FUNCTIONS");
        tvdiag::util::diagnostics diagnostics;
        for (const char* checksum : {"abc", "def"}) {
            vrex::ObjectRef object = repository_.createObject(functions.cls, diagnostics);
            Thing data(std::string("payload-") + checksum);
            repository_.setPropertyValue(object, functions.checksum, qaArray::fromText(checksum), diagnostics);
            repository_.setPropertyValue(object, functions.data, data.toScriptValue(), diagnostics);
        }
        ASSERT_EQ(diagnostics.toString(), "");
    }

    // Runs `sql` on the closed file behind the registry's back, then opens it again.
    void changeBehindItsBack(const std::string& sql) {
        repository_.close();
        if (!sql.empty()) execSql(file_, sql);
        ASSERT_EQ(openRepository(repository_, file_), "");
    }

    TempDir dir_;
    std::string file_ = dir_.file("registry.reg");
    vrex::DataModelRepository repository_;
};

struct IntegrityCase {
    const char* label;
    const char* sql;  // run behind the registry's back
    const char* identifiers;
    std::vector<const char*> named;  // in the report
};

std::ostream& operator<<(std::ostream& out, const IntegrityCase& c) { return out << c.label; }

class IntegrityCheck : public InspectionTest, public ::testing::WithParamInterface<IntegrityCase> {};

TEST_P(IntegrityCheck, NamesWhatIsWrong) {
    changeBehindItsBack(GetParam().sql);
    tvdiag::util::diagnostics diagnostics;
    repository_.checkIntegrity(diagnostics);
    const std::string report = diagnostics.toString();
    EXPECT_EQ(identifiers(diagnostics), GetParam().identifiers) << report;
    for (const char* part : GetParam().named) EXPECT_NE(report.find(part), std::string::npos) << part << "\n" << report;
}

const IntegrityCase kIntegrityCases[] = {
    {"sound", "", "", {}},
    // An index whose definition was changed behind SQLite's back no longer matches its table.
    {"damaged index",
     "PRAGMA writable_schema = ON; UPDATE sqlite_schema SET sql = 'CREATE INDEX \"index:SCM_SHARED_FUNCTIONS.Checksum\" "
     "ON \"SCM_SHARED_FUNCTIONS\" (\"Data\")' WHERE name = 'index:SCM_SHARED_FUNCTIONS.Checksum'",
     "vrex:integrity:damaged vrex:integrity:damaged ", {"row 2 missing from index index:SCM_SHARED_FUNCTIONS.Checksum"}},
    // Another program's tables, indexes, triggers and views; the registry's own parts are not named.
    {"foreign schema objects",
     "CREATE TABLE extra (x); CREATE VIEW peek AS SELECT 1; CREATE INDEX \"byName\" ON \"SCM_UTILITIES\" (\"Name\");"
     "CREATE TRIGGER wipe AFTER INSERT ON \"SCM_SHARED_FUNCTIONS\" BEGIN DELETE FROM \"SCM_UTILITIES\"; END",
     "vrex:integrity:foreign vrex:integrity:foreign vrex:integrity:foreign vrex:integrity:foreign ",
     {"table \"extra\" is", "view \"peek\" is", "index \"byName\" on table \"SCM_UTILITIES\"",
      "trigger \"wipe\" on table \"SCM_SHARED_FUNCTIONS\" is not part of the registry's schema"}},
};

INSTANTIATE_TEST_SUITE_P(Cases, IntegrityCheck, ::testing::ValuesIn(kIntegrityCases), LabelName());

}  // namespace
