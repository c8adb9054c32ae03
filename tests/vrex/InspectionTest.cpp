// Reading what a registry file holds as it lies on disk: stored texts and the integrity check.
#include <gtest/gtest.h>

#include "VrexTestSupport.hpp"
#include "support/DirectSql.hpp"

namespace {

using namespace vrex_test;
using scm_test::execSql;

class InspectionTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(openRepository(repository_, file_), ""); }

    vrex::ObjectRef addFunction(const std::string& checksum, const std::string& payload) {
        Category functions(repository_, "SCM_SHARED_FUNCTIONS");
        tvdiag::util::diagnostics diagnostics;
        vrex::ObjectRef object = repository_.createObject(functions.cls, diagnostics);
        Thing data(payload);
        repository_.setPropertyValue(object, functions.checksum, qaArray::fromText(checksum),
                                     diagnostics);
        repository_.setPropertyValue(object, functions.data, thingValue(data), diagnostics);
        EXPECT_EQ(diagnostics.toString(), "");
        return object;
    }

    // Runs `sql` on the closed file behind the registry's back, then the reopened registry's
    // integrity check.
    tvdiag::util::diagnostics checkAfter(const std::string& sql) {
        repository_.close();
        execSql(file_, sql);
        tvdiag::util::diagnostics diagnostics;
        EXPECT_EQ(openRepository(repository_, file_), "");
        repository_.checkIntegrity(diagnostics);
        return diagnostics;
    }

    TempDir dir_;
    std::string file_ = dir_.file("registry.reg");
    vrex::DataModelRepository repository_;
};

TEST_F(InspectionTest, StoredTextIsTheRawTextOfEachProperty) {
    const vrex::ObjectRef object = addFunction("abc", "payload");
    Category functions(repository_, "SCM_SHARED_FUNCTIONS");
    tvdiag::util::diagnostics diagnostics;
    EXPECT_EQ(repository_.getStoredText(object, functions.checksum, diagnostics), "abc");
    EXPECT_EQ(repository_.getStoredText(object, functions.data, diagnostics), "thing:payload");
    EXPECT_EQ(repository_.getStoredText(object, functions.name, diagnostics), std::nullopt);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

// getPropertyValue reads [] both for an unset object property and for one whose text no longer
// decodes; the stored text tells them apart.
TEST_F(InspectionTest, StoredTextShowsWhatNoLongerDecodes) {
    addFunction("abc", "payload");
    repository_.close();
    execSql(file_, "UPDATE \"SCM_SHARED_FUNCTIONS\" SET \"Data\" = 'garbage'");
    ASSERT_EQ(openRepository(repository_, file_), "");
    Category functions(repository_, "SCM_SHARED_FUNCTIONS");
    tvdiag::util::diagnostics diagnostics;
    const vrex::ObjectRef reopened = allObjects(repository_, functions).at(0);
    EXPECT_EQ(repository_.getPropertyValue(reopened, functions.data, diagnostics).kind(),
              qaArray::Kind::Empty);
    EXPECT_EQ(repository_.getStoredText(reopened, functions.data, diagnostics), "garbage");
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

TEST_F(InspectionTest, StoredTextOfAMissingObjectOrForeignPropertyIsAnError) {
    const vrex::ObjectRef object = addFunction("abc", "payload");
    Category types(repository_, "SCM_SHARED_TYPES");
    tvdiag::util::diagnostics diagnostics;
    EXPECT_EQ(repository_.getStoredText(object, types.checksum, diagnostics), std::nullopt);
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:property:notOfClass");
    repository_.close();
    diagnostics.clear();
    EXPECT_EQ(repository_.getStoredText(object, types.checksum, diagnostics), std::nullopt);
    EXPECT_EQ(diagnostics.records().at(0).identifier, "vrex:notOpen");
}

TEST_F(InspectionTest, ASoundFilePassesTheIntegrityCheck) {
    addFunction("abc", "payload");
    tvdiag::util::diagnostics diagnostics;
    repository_.checkIntegrity(diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

// An index whose definition was changed behind SQLite's back no longer matches its table.
TEST_F(InspectionTest, ADamagedIndexFailsTheIntegrityCheck) {
    addFunction("abc", "one");
    addFunction("def", "two");
    const tvdiag::util::diagnostics diagnostics = checkAfter(
        "PRAGMA writable_schema = ON;"
        "UPDATE sqlite_schema SET sql = 'CREATE INDEX \"index:SCM_SHARED_FUNCTIONS.Checksum\" "
        "ON \"SCM_SHARED_FUNCTIONS\" (\"Data\")' "
        "WHERE name = 'index:SCM_SHARED_FUNCTIONS.Checksum'");
    ASSERT_FALSE(diagnostics.empty());
    EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:integrity:damaged");
    EXPECT_NE(diagnostics.records()[0].message.find("index:SCM_SHARED_FUNCTIONS.Checksum"),
              std::string::npos)
        << diagnostics.toString();
}

// Another program's tables, indexes, triggers and views are named; the registry's own parts are not.
TEST_F(InspectionTest, SchemaObjectsTheRegistryDoesNotMakeAreReported) {
    addFunction("abc", "one");
    const tvdiag::util::diagnostics diagnostics = checkAfter(
        "CREATE TABLE extra (x); CREATE VIEW peek AS SELECT 1;"
        "CREATE INDEX \"byName\" ON \"SCM_UTILITIES\" (\"Name\");"
        "CREATE TRIGGER wipe AFTER INSERT ON \"SCM_SHARED_FUNCTIONS\" BEGIN DELETE FROM \"SCM_UTILITIES\"; END");
    const std::string report = diagnostics.toString();
    EXPECT_EQ(diagnostics.size(), 4u) << report;
    for (const auto& record : diagnostics.records()) EXPECT_EQ(record.identifier, "vrex:integrity:foreign");
    for (const char* part : {"table \"extra\" is", "view \"peek\" is", "index \"byName\" on table \"SCM_UTILITIES\"",
                             "trigger \"wipe\" on table \"SCM_SHARED_FUNCTIONS\" is not part of the registry's schema"}) {
        EXPECT_NE(report.find(part), std::string::npos) << part << "\n" << report;
    }
}

}  // namespace
