// The reading commands end to end: list, show, export (and its round trip through register),
// stats and check, and what they do with files that are not registries.
#include <gtest/gtest.h>

#include <memory>

#include "ScmToolRunner.hpp"
#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"
#include "support/DirectSql.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace scm_test;

// Every entry of a registry file as text, read with the library: the whole-object encodings of
// each identity and data record, category after category in store order.
std::string entriesOf(const std::string& file) {
    SCM::SCMRegistryInspector inspector(file);
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

class ScmInspect : public ::testing::Test {
protected:
    void SetUp() override {
        const ToolRun run = scm({"register", registry(), example("model_a.jsonl"),
                                 example("model_b.jsonl"), example("model_c.jsonl")});
        ASSERT_EQ(run.exitCode, 1) << run.out << run.err;
    }
    ToolRun scm(const std::vector<std::string>& arguments) {
        return runScm(arguments, dir_.path().string());
    }
    std::string file(const std::string& name) const { return dir_.file(name); }

    const std::string& registry() const { return registry_.location(); }
    // The registry as the tool prints it: a URI without its password.
    std::string printedRegistry() const { return SCM::getPrintableRegistryName(registry()); }

    vrex_test::TempDir dir_;
    TestRegistry registry_{dir_.file("registry.scm")};
};

TEST_F(ScmInspect, ExportThenRegisterReproducesTheRegistryEntryByEntry) {
    const ToolRun exported = scm({"export", registry()});
    ASSERT_EQ(exported.exitCode, 0) << exported.err;
    vrex_test::writeBytes(file("exported.jsonl"), exported.out);
    const TestRegistry copy(file("copy.scm"));
    const ToolRun copied = scm({"register", copy.location(), "exported.jsonl"});
    EXPECT_EQ(copied.exitCode, 0) << copied.out;
    EXPECT_TRUE(contains(copied.out, "registered 11, merged 0, clashes 0, errors 0")) << copied.out;
    const std::string original = entriesOf(registry());
    EXPECT_EQ(std::count(original.begin(), original.end(), '\n'), 22);
    EXPECT_EQ(entriesOf(copy.location()), original);
    EXPECT_EQ(scm({"export", copy.location()}).out, exported.out);
}

// Bytes that are not printable ASCII travel as \u00XX and come back byte for byte.
TEST_F(ScmInspect, ExportKeepsEveryByteOfATextThroughTheRoundTrip) {
    const TestRegistry bytes(file("bytes.scm"));
    const TestRegistry copy(file("copy.scm"));
    {
        SCM::SharedCodeManagerInterface registry(bytes.location());
        SCM::SCMGenericIdentity key(SCM::SCM_OTHER, "bytes");
        std::string everyByte;
        for (int byte = 0; byte < 256; ++byte) everyByte += static_cast<char>(byte);
        SCM::SCMGenericData record(everyByte);
        record.setName("\xe9t\xe9\n\"quoted\"");
        ASSERT_EQ(registry.registerDataInTransaction(&key, &record), SCM::IS_REGISTERED);
    }
    vrex_test::writeBytes(file("bytes.jsonl"), scm({"export", bytes.location()}).out);
    ASSERT_EQ(scm({"register", copy.location(), "bytes.jsonl"}).exitCode, 0);
    EXPECT_EQ(entriesOf(copy.location()), entriesOf(bytes.location()));
}

TEST_F(ScmInspect, ExportOfOneCategory) {
    const ToolRun run = scm({"export", registry(), "--category", "SCM_SHARED_CONSTANTS"});
    EXPECT_EQ(std::count(run.out.begin(), run.out.end(), '\n'), 2);
    EXPECT_TRUE(contains(run.out, "\"Name\":\"K_GAIN\"")) << run.out;
    EXPECT_TRUE(contains(run.out, "\"GenerateConstant\":true")) << run.out;  // switched on by model_b
    EXPECT_EQ(scm({"export", registry(), "constants"}).out, run.out);  // as list takes it
}

TEST_F(ScmInspect, ListShowsEveryEntryOrTheNamesOfACategory) {
    const ToolRun table = scm({"list", registry()});
    EXPECT_EQ(table.exitCode, 0);
    EXPECT_EQ(std::count(table.out.begin(), table.out.end(), '\n'), 12);  // a header and 11 rows
    EXPECT_TRUE(contains(table.out, "CATEGORY   KEY ")) << table.out;
    EXPECT_EQ(scm({"list", registry(), "functions", "--names"}).out, "filter_update\npid_step\n");
    EXPECT_EQ(scm({"list", registry(), "Constants", "--names"}).out, "K_GAIN\nK_MAX_SPEED\n");
    const ToolRun unknown = scm({"list", registry(), "widgets"});
    EXPECT_EQ(unknown.exitCode, 2);
    EXPECT_TRUE(contains(unknown.err, "unknown category \"widgets\"")) << unknown.err;
}

TEST_F(ScmInspect, ShowFindsAnEntryByNameOrChecksum) {
    const ToolRun byName = scm({"show", registry(), "utilities", "rt_sat_s32"});
    EXPECT_EQ(byName.exitCode, 0);
    EXPECT_TRUE(contains(byName.out, "ModelNames               [\"model_a\", \"model_b\", \"model_c\"]"))
        << byName.out;
    EXPECT_FALSE(contains(byName.out, "IncludeMaxIdLength"));  // hidden unless --all
    EXPECT_TRUE(contains(scm({"show", registry(), "utilities", "rt_sat_s32", "--all"}).out,
                         "IncludeMaxIdLength"));

    const std::string key = SCM::SCMSharedFunctionIdentity(439041101, 17, 1584361601, 2).getChecksum();
    const ToolRun byChecksum = scm({"show", registry(), "--checksum", key});
    EXPECT_EQ(byChecksum.exitCode, 0);
    EXPECT_TRUE(contains(byChecksum.out, "category            SCM_SHARED_FUNCTIONS\n")) << byChecksum.out;
    EXPECT_TRUE(contains(byChecksum.out, "FunctionName      \"filter_update\"\n")) << byChecksum.out;

    const ToolRun missing = scm({"show", registry(), "types", "No_Such_Type"});
    EXPECT_EQ(missing.exitCode, 1);
    EXPECT_TRUE(contains(missing.err, "no entry named \"No_Such_Type\" in types")) << missing.err;
    EXPECT_EQ(scm({"show", registry(), "types"}).exitCode, 2);
}

TEST_F(ScmInspect, StatsCountCategoriesAndTheModelsSharingEachPiece) {
    const ToolRun run = scm({"stats", registry()});
    EXPECT_EQ(run.exitCode, 0);
    EXPECT_TRUE(contains(run.out, "utilities        3\n")) << run.out;
    EXPECT_TRUE(contains(run.out, "total           11\n")) << run.out;
    EXPECT_TRUE(contains(run.out, "models: 3 (model_a, model_b, model_c)\n")) << run.out;
    EXPECT_TRUE(contains(run.out, "  used by 3 models: 1\n  used by 2 models: 1\n  used by 1 model: 1\n"))
        << run.out;
    const std::size_t first = run.out.find("rt_sat_s32");
    EXPECT_NE(first, std::string::npos);
    EXPECT_LT(first, run.out.find("rt_lookup_1d"));  // the most shared first
    EXPECT_TRUE(contains(run.out, "4  model_a, model_b, model_c\n")) << run.out;  // traceability
}

TEST_F(ScmInspect, CheckPassesOnACleanRegistry) {
    const ToolRun run = scm({"check", registry()});
    EXPECT_EQ(run.exitCode, 0) << run.out;
    EXPECT_EQ(run.out, "OK: " + printedRegistry() + ": 11 entries; the storage is sound, every entry decodes and "
                       "matches its checksum\n");
}

TEST_F(ScmInspect, CheckCatchesAnEditedChecksum) {
    SCM_SQLITE_ONLY("edits a row through SQLite");
    execSql(registry(),
            "UPDATE \"SCM_SHARED_TYPES\" SET \"Checksum\" = 'edited' WHERE \"_id\" = 2");
    const ToolRun run = scm({"check", registry()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(contains(run.out, "problem: SCM_SHARED_TYPES object 2 (checksum \"edited\"): its "
                                  "identity computes the checksum"))
        << run.out;
    EXPECT_TRUE(contains(run.out, "1 problem in " + printedRegistry() + " (11 entries checked)")) << run.out;
}

TEST_F(ScmInspect, CheckCatchesACorruptedObjectAndExportWarnsOfIt) {
    SCM_SQLITE_ONLY("edits a row through SQLite");
    execSql(registry(),
            "UPDATE \"SCM_UTILITIES\" SET \"Data\" = substr(\"Data\", 1, 30) WHERE \"_id\" = 1");
    const ToolRun run = scm({"check", registry()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(contains(run.out, "problem: SCM_UTILITIES object 1 (checksum")) << run.out;
    EXPECT_TRUE(contains(run.out, "its Data does not decode")) << run.out;
    const ToolRun exported = scm({"export", registry()});
    EXPECT_EQ(exported.exitCode, 1);
    EXPECT_TRUE(contains(exported.err, "1 of the 3 entries of SCM_UTILITIES do not decode")) << exported.err;
}

TEST_F(ScmInspect, CheckRepairDeletesTornRowsAndMakesMissingPartsAgain) {
    SCM_SQLITE_ONLY("tears rows through SQLite");
    execSql(registry(), "UPDATE \"SCM_UTILITIES\" SET \"Data\" = NULL WHERE \"_id\" = 1;"
                        "DELETE FROM \"_vrex_catalogue\" WHERE class = 'SCM_UTILITIES' AND property = 'Identity'");
    const ToolRun dryRun = scm({"check", registry()});
    EXPECT_EQ(dryRun.exitCode, 1);
    EXPECT_TRUE(contains(dryRun.out, "2 problems in " + printedRegistry() + " (11 entries checked)\n"
                                     "scm check --repair would fix 2 of them\n")) << dryRun.out;
    const ToolRun repaired = scm({"check", registry(), "--repair"});
    EXPECT_EQ(repaired.exitCode, 0) << repaired.out << repaired.err;
    EXPECT_TRUE(contains(repaired.out, "repaired: 1 missing part of the storage made again, 1 torn row deleted\n"
                                       "OK: " + printedRegistry() + ": 10 entries")) << repaired.out;
}

TEST_F(ScmInspect, CheckCatchesADamagedFile) {
    SCM_SQLITE_ONLY("damages the SQLite schema");
    execSql(registry(),
            "PRAGMA writable_schema = ON;"
            "UPDATE sqlite_schema SET sql = 'CREATE INDEX \"index:SCM_UTILITIES.Name\" "
            "ON \"SCM_UTILITIES\" (\"Data\")' WHERE name = 'index:SCM_UTILITIES.Name'");
    const ToolRun run = scm({"check", registry()});
    EXPECT_EQ(run.exitCode, 1);
    EXPECT_TRUE(contains(run.out, "is damaged: ")) << run.out;
}

TEST_F(ScmInspect, ReadingCommandsRefuseFilesThatAreNotRegistriesAndChangeNothing) {
    SCM_SQLITE_ONLY("hands the tool files that are not registries");
    // Another program's SQLite database, and a text file.
    execSql(file("other.db"), "CREATE TABLE notes (text TEXT); INSERT INTO notes VALUES ('x')");
    vrex_test::writeBytes(file("notes.txt"), "hello\n");
    for (const std::string name : {"other.db", "notes.txt"}) {
        const std::string before = vrex_test::readBytes(file(name));
        for (const std::vector<std::string>& command :
             std::vector<std::vector<std::string>>{{"list", name},
                                                   {"show", name, "--checksum", "x"},
                                                   {"export", name},
                                                   {"stats", name},
                                                   {"check", name},
                                                   {"register", name, example("model_a.jsonl")}}) {
            const ToolRun run = scm(command);
            EXPECT_EQ(run.exitCode, 2) << command[0] << " " << name;
            EXPECT_TRUE(contains(run.err, "scm: cannot open the registry: \"" + name + "\" is "))
                << run.err;
        }
        EXPECT_EQ(vrex_test::readBytes(file(name)), before) << name;
    }
}

TEST_F(ScmInspect, ReadingCommandsNeverCreateARegistry) {
    SCM_SQLITE_ONLY("looks for the file the tool must not create");
    const ToolRun run = scm({"list", "absent.scm"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(contains(run.err, "it is not a registry yet")) << run.err;
    EXPECT_FALSE(std::filesystem::exists(file("absent.scm")));
}

}  // namespace
