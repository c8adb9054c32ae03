// The reading commands end to end on the examples' registry: list, show, export (and its round
// trip through register), stats and check. Damaged and foreign files: ScmHostileTest.cpp.
#include <gtest/gtest.h>

#include <memory>

#include "ScmToolRunner.hpp"
#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"
#include "support/DirectSql.hpp"
#include "support/RegistryDriver.hpp"

namespace {

using namespace scm_test;

// Every entry of a registry as text, read with the library: the whole-object encodings of each
// identity and data record, category after category in store order.
std::string entriesOf(const std::string& registry) {
    SCM::SCMRegistryInspector inspector(registry);
    std::string text;
    for (int type = SCM::SCM_UTILITIES; type <= SCM::SCM_SHARED_CONSTANTS; ++type) {
        for (auto [identity, data] : inspector.getAllEntries(static_cast<SCM::SCMTypes>(type))) {
            std::unique_ptr<SCM::SCMIdentity> ownedIdentity(identity);
            std::unique_ptr<SCM::SCMData> ownedData(data);
            text += kobj::encodeObject(identity->toScriptValue()) + "\n" +
                    kobj::encodeObject(data->toScriptValue()) + "\n";
        }
    }
    return text;
}

class ScmInspect : public ::testing::Test, public ToolSandbox {
protected:
    void SetUp() override {
        const ToolRun run = registerExamples();
        ASSERT_EQ(run.exitCode, 1) << run.out << run.err;
    }
};

// Bytes that are not printable ASCII travel as \u00XX and come back byte for byte.
TEST_F(ScmInspect, ExportThenRegisterReproducesTheRegistryEntryByEntry) {
    {
        SCM::SharedCodeManagerInterface library(registry());
        SCM::SCMGenericIdentity key(SCM::SCM_OTHER, "bytes");
        std::string everyByte;
        for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
        SCM::SCMGenericData record(everyByte);
        record.setName("\xe9t\xe9\n\"quoted\"");
        ASSERT_EQ(library.registerDataInTransaction(&key, &record), SCM::IS_REGISTERED);
    }
    const ToolRun exported = scm({"export", kRegistry});
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    vrex_test::writeBytes(file("exported.jsonl"), exported.out);
    const TestRegistry copy(file("copy.scm"));
    const ToolRun copied = scm({"register", copy.location(), "exported.jsonl"});
    EXPECT_EQ(copied.exitCode, 0) << copied.out;
    EXPECT_TRUE(contains(copied.out, "registered 12, merged 0, clashes 0, errors 0")) << copied.out;
    const std::string original = entriesOf(registry());
    EXPECT_EQ(countOf(original, "\n"), 24u);
    EXPECT_EQ(entriesOf(copy.location()), original);
    EXPECT_EQ(scm({"export", copy.location()}).out, exported.out);
}

// What a reading command prints of the examples' registry: its exit code, and fragments of its
// standard output, or of its standard error when it fails.
struct Reading {
    std::vector<std::string> arguments;
    int exitCode;
    std::vector<std::string> said;
};

TEST_F(ScmInspect, ReadingCommandsFindWhatWasRegistered) {
    const std::string key = SCM::SCMSharedFunctionIdentity(439041101, 17, 1584361601, 2).getChecksum();
    const std::vector<Reading> readings = {
        {{"list", kRegistry}, 0, {"CATEGORY   KEY ", "K_MAX_SPEED"}},
        {{"list", kRegistry, "functions", "--names"}, 0, {"filter_update\npid_step\n"}},
        {{"list", kRegistry, "Constants", "--names"}, 0, {"K_GAIN\nK_MAX_SPEED\n"}},
        {{"list", kRegistry, "widgets"}, 2, {"unknown category \"widgets\""}},
        {{"export", kRegistry, "--category", "SCM_SHARED_CONSTANTS"}, 0,
         {"\"Name\":\"K_GAIN\"", "\"GenerateConstant\":true"}},  // switched on by model_b
        {{"show", kRegistry, "utilities", "rt_sat_s32"}, 0,
         {"ModelNames               [\"model_a\", \"model_b\", \"model_c\"]"}},
        {{"show", kRegistry, "utilities", "rt_sat_s32", "--all"}, 0, {"IncludeMaxIdLength"}},
        {{"show", kRegistry, "--checksum", key}, 0,
         {"category            SCM_SHARED_FUNCTIONS\n", "FunctionName      \"filter_update\"\n"}},
        {{"show", kRegistry, "types", "No_Such_Type"}, 1, {"no entry named \"No_Such_Type\" in types"}},
        {{"show", kRegistry, "types"}, 2, {}},
    };
    for (const Reading& reading : readings) {
        const ToolRun run = scm(reading.arguments);
        EXPECT_EQ(run.exitCode, reading.exitCode) << reading.arguments[0] << run.err;
        for (const std::string& part : reading.said) {
            EXPECT_TRUE(contains(run.exitCode == 0 ? run.out : run.err, part)) << part << "\n" << run.out;
        }
    }
    EXPECT_EQ(countOf(scm({"list", kRegistry}).out, "\n"), 12u);  // a header and 11 rows
    EXPECT_FALSE(contains(scm({"show", kRegistry, "utilities", "rt_sat_s32"}).out, "IncludeMaxIdLength"));
    const std::string constants = scm({"export", kRegistry, "constants"}).out;  // as list takes it
    EXPECT_EQ(countOf(constants, "\n"), 2u);
    EXPECT_EQ(scm({"export", kRegistry, "--category", "SCM_SHARED_CONSTANTS"}).out, constants);
}

TEST_F(ScmInspect, StatsCountCategoriesAndTheModelsSharingEachPiece) {
    const ToolRun run = scm({"stats", kRegistry});
    EXPECT_EQ(run.exitCode, 0);
    for (const char* line : {"utilities        3\n", "total           11\n",
                             "models: 3 (model_a, model_b, model_c)\n",
                             "  used by 3 models: 1\n  used by 2 models: 1\n  used by 1 model: 1\n",
                             "4  model_a, model_b, model_c\n"}) {  // the last from traceability
        EXPECT_TRUE(contains(run.out, line)) << line << "\n" << run.out;
    }
    const std::size_t first = run.out.find("rt_sat_s32");
    EXPECT_NE(first, std::string::npos);
    EXPECT_LT(first, run.out.find("rt_lookup_1d"));  // the most shared first
}

// What check says of each kind of damage, and what --repair makes of it.
TEST_F(ScmInspect, CheckFindsEachKindOfDamage) {
    const ToolRun clean = scm({"check", kRegistry});
    EXPECT_EQ(clean.exitCode, 0) << clean.out;
    EXPECT_EQ(clean.out, "OK: " + printedRegistry() + ": 11 entries; the storage is sound, every entry "
                         "decodes and matches its checksum\n");
    SCM_SQLITE_ONLY("damages the registry through SQLite");
    execSql(registry(), "UPDATE \"SCM_UTILITIES\" SET \"Data\" = NULL WHERE \"_id\" = 1;"
                        "DELETE FROM \"_vrex_catalogue\" WHERE class = 'SCM_UTILITIES' AND property = 'Identity'");
    const ToolRun torn = scm({"check", kRegistry});
    EXPECT_EQ(torn.exitCode, 1);
    EXPECT_TRUE(contains(torn.out, "2 problems in " + printedRegistry() + " (11 entries checked)\n"
                                   "scm check --repair would fix 2 of them\n")) << torn.out;
    const ToolRun repaired = scm({"check", kRegistry, "--repair"});
    EXPECT_EQ(repaired.exitCode, 0) << repaired.out << repaired.err;
    EXPECT_TRUE(contains(repaired.out, "repaired: 1 missing part of the storage made again, 1 torn row deleted\n"
                                       "OK: " + printedRegistry() + ": 10 entries")) << repaired.out;

    execSql(registry(), "UPDATE \"SCM_SHARED_TYPES\" SET \"Checksum\" = 'edited' WHERE \"_id\" = 2");
    const ToolRun edited = scm({"check", kRegistry});
    EXPECT_EQ(edited.exitCode, 1);
    EXPECT_TRUE(contains(edited.out, "problem: SCM_SHARED_TYPES object 2 (checksum \"edited\"): its "
                                     "identity computes the checksum"))
        << edited.out;
    EXPECT_TRUE(contains(edited.out, "1 problem in " + printedRegistry() + " (10 entries checked)")) << edited.out;

    execSql(registry(),
            "PRAGMA writable_schema = ON;"
            "UPDATE sqlite_schema SET sql = 'CREATE INDEX \"index:SCM_UTILITIES.Name\" "
            "ON \"SCM_UTILITIES\" (\"Data\")' WHERE name = 'index:SCM_UTILITIES.Name'");
    const ToolRun damaged = scm({"check", kRegistry});
    EXPECT_EQ(damaged.exitCode, 1);
    EXPECT_TRUE(contains(damaged.out, "is damaged: ")) << damaged.out;
}

}  // namespace
