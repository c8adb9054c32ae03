// The tool end to end on the examples' registry: what register reports of them (in text and
// JSON), list, show, export (and its round trip through register), stats, check, and the runs
// register records (runs, explain, forget). Bad input,
// damaged and foreign files: ScmHostileTest.cpp.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "SCMBasicUtilityData.hpp"
#include "SCMBasicUtilityIdentity.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "SCMSharedTypesData.hpp"
#include "SCMSharedTypesIdentity.hpp"
#include "shared_code_manager.hpp"
#include "ScmToolRunner.hpp"
#include "support/DirectSql.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace scm_test;

class ScmExamples : public ::testing::Test, public ToolSandbox {
protected:
    void SetUp() override {
        registered_ = registerExamples();
        ASSERT_EQ(registered_.exitCode, 1) << registered_.out << registered_.err;  // one clash
    }

    const std::string clashKey_ = SCM::SCMSharedFunctionIdentity(439041101, 17, 1584361601, 2).getChecksum();
    ToolRun registered_;
};

// The first run registers or merges every entry but one; a second run merges them and meets the
// same clash, reported in JSON.
TEST_F(ScmExamples, RegisterCountsMergesAndReportsTheOneClash) {
    EXPECT_TRUE(contains(registered_.out, "registered 11, merged 5, unchanged 5, clashes 1, errors 0 (22 entries"))
        << registered_.out;
    EXPECT_TRUE(contains(registered_.out,
                         "model_c.jsonl:3: clash: SCM_SHARED_FUNCTIONS key \"" + clashKey_ +
                             "\" name \"filter_update\": the stored record refuses the offered one\n"
                             "    Name: stored \"filter_update\", offered \"filter_update_fast\"\n"
                             "    FunctionName: stored \"filter_update\", offered \"filter_update_fast\"\n"
                             "    FileName: stored \"filter_update.c\", offered \"filter_update_fast.c\"\n"))
        << registered_.out;

    const ToolRun again = registerExamples({"--json"});
    EXPECT_EQ(again.exitCode, 1);
    nlohmann::json summary = nlohmann::json::parse(again.out);
    const nlohmann::json clash = summary["clashReports"][0];
    for (const char* varying : {"seconds", "clashReports", "run"}) summary.erase(varying);
    EXPECT_EQ(summary, (nlohmann::json{{"registry", printedRegistry()}, {"entries", 22}, {"registered", 0},
                                       {"merged", 0}, {"unchanged", 21}, {"clashes", 1}, {"errors", 0}, {"committed", true},
                                       {"errorReports", nlohmann::json::array()}}));
    EXPECT_EQ(nlohmann::json({clash["line"], clash["category"], clash["differences"].size(),
                              clash["differences"][1]["offered"]}),
              nlohmann::json({3, "SCM_SHARED_FUNCTIONS", 3, "filter_update_fast"}));
}

// Bytes that are not printable ASCII travel as \u00XX and come back byte for byte.
TEST_F(ScmExamples, ExportThenRegisterReproducesTheRegistryEntryByEntry) {
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
    EXPECT_TRUE(contains(copied.out, "registered 12, merged 0, unchanged 0, clashes 0, errors 0")) << copied.out;
    const std::string original = registryDump(registry());
    EXPECT_EQ(countOf(original, "\n"), 12u);
    EXPECT_EQ(registryDump(copy.location()), original);
    EXPECT_EQ(scm({"export", copy.location()}).out, exported.out);
    EXPECT_EQ(scm({"register", copy.location(), "exported.jsonl"}).exitCode, 0);  // all merged: no finding
}

// What a reading command prints of the examples' registry: its exit code, and fragments of its
// standard output, or of its standard error when it fails.
struct Reading {
    std::vector<std::string> arguments;
    int exitCode;
    std::vector<std::string> said;
};

TEST_F(ScmExamples, ReadingCommandsFindWhatWasRegistered) {
    const std::vector<Reading> readings = {
        {{"list", kRegistry}, 0, {"CATEGORY   KEY ", "K_MAX_SPEED"}},
        {{"list", kRegistry, "functions", "--names"}, 0, {"filter_update\npid_step\n"}},
        {{"list", kRegistry, "widgets"}, 2, {"unknown category \"widgets\""}},
        {{"export", kRegistry, "--category", "SCM_SHARED_CONSTANTS"}, 0,
         {"\"Name\":\"K_GAIN\"", "\"GenerateConstant\":true"}},  // switched on by model_b
        {{"show", kRegistry, "utilities", "rt_sat_s32"}, 0,
         {"ModelNames               [\"model_a\", \"model_b\", \"model_c\"]"}},
        {{"show", kRegistry, "utilities", "rt_sat_s32", "--all"}, 0, {"IncludeMaxIdLength"}},
        {{"show", kRegistry, "--checksum", clashKey_}, 0,
         {"category            SCM_SHARED_FUNCTIONS\n", "FunctionName      \"filter_update\"\n"}},
        {{"show", kRegistry, "types", "No_Such_Type"}, 1, {"no entry named \"No_Such_Type\" in types"}},
        {{"show", kRegistry, "types"}, 2, {}},
        // The one run that registered the examples: what it did to each entry, the digest's input.
        {{"runs", kRegistry}, 0, {"REGISTERED  MERGED  UNCHANGED  CLASHES  ERRORS", "11       5          5        1"}},
        {{"runs", kRegistry, "--since", "2999-01-01"}, 0, {"no runs recorded"}},
        {{"runs", kRegistry, "--json"}, 0,
         {"\"models\": [\n        \"model_a\",\n        \"model_b\",\n        \"model_c\"\n      ]", "model_c.jsonl\"\n      ]"}},
        {{"stats", kRegistry, "--json", "--since", "2000-01-01"}, 0,
         {"\"reuse\": {\n    \"runs\": 1,\n    \"offered\": 22,\n    \"new\": 11,\n    \"reused\": 10,"}},
        {{"explain", kRegistry, "utilities", "rt_sat_s32"}, 0,
         {"digest input (10 bytes): 72745f7361745f733332\n", "  created by run ", "  merged by run "}},
        {{"explain", kRegistry, "--checksum", clashKey_}, 0,
         {"  created by run ", "  clash with run ", "\n    Name: stored \"filter_update\", offered \"filter_update_fast\"\n"}},
        {{"stats", kRegistry, "--format", "openmetrics"}, 0,
         {"scm_register_runs_total 1\n", "scm_model_entries_reused_total{model=\"model_b\"} 10\n", "# EOF\n"}},
        // The counts cover every piece; only the most shared one (of 4 traces) is listed.
        {{"stats", kRegistry, "--top", "1"}, 0,
         {"utilities        3\n", "total           11\n", "models: 3 (model_a, model_b, model_c)\n",
          "  used by 3 models: 1\n  used by 2 models: 1\n  used by 1 model: 1\n",
          "4  model_a, model_b, model_c\n", "rt_sat_s32"}},
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
    EXPECT_EQ(countOf(scm({"export", kRegistry, "constants"}).out, "\n"), 2u);
    EXPECT_FALSE(contains(scm({"stats", kRegistry, "--top", "1"}).out, "rt_lookup_1d"));
}

// Only runs that were kept are recorded; forget changes nothing in a dry run, and prunes only
// what recorded runs of the retired model alone created and offered, never what the library
// registered, even when such a run merged into it since.
TEST_F(ScmExamples, RunsAreRecordedWithTheirEntriesAndForgetPrunesOnlyWhatTheyOffered) {
    writeManifest("broken.jsonl", {utilityLine("rt_new"), "{"});
    EXPECT_EQ(scm({"register", kRegistry, "broken.jsonl"}).exitCode, 2);
    EXPECT_EQ(scm({"runs", kRegistry, "--json"}).out.find("broken.jsonl"), std::string::npos);
    EXPECT_EQ(scm({"explain", kRegistry, "utilities", "rt_new"}).exitCode, 1);

    const TestRegistry farm(file("farm.scm"));
    {
        SCM::SharedCodeManagerInterface library(farm.location());
        SCM::SCMBasicUtilityIdentity key("rt_legacy");
        SCM::SCMBasicUtilityData record("rt_legacy", false, false);
        record.setName("rt_legacy");
        record.addModelName("model_c");
        ASSERT_EQ(library.registerDataInTransaction(&key, &record), SCM::IS_REGISTERED);
        SCM::SCMSharedTypesIdentity typeKey(3735928559u, 2, 0, 0);  // model_c's Mode_T, merged by its run
        SCM::SCMSharedTypesData type("Mode_T");
        ASSERT_EQ(library.registerDataInTransaction(&typeKey, &type), SCM::IS_REGISTERED);
    }
    for (const char* manifest : {"model_a.jsonl", "model_c.jsonl"}) scm({"register", farm.location(), example(manifest)});
    const std::string before = registryDump(farm.location());
    const ToolRun dryRun = scm({"forget", farm.location(), "--model", "model_c"});
    EXPECT_EQ(registryDump(farm.location()), before);
    const ToolRun pruned = scm({"forget", farm.location(), "--model", "model_c", "--prune"});
    for (const ToolRun& run : {dryRun, pruned}) {
        EXPECT_TRUE(contains(run.out, "from 3 utilities\n  \"rt_legacy\"\n  \"rt_sat_s32\"\n  \"rt_lookup_1d\"\n"
                                      "entries nothing needs any more: 3\n")) << run.out;
        EXPECT_TRUE(contains(run.out, "name \"rt_legacy\": kept: no run recorded its creation")) << run.out;
    }
    EXPECT_TRUE(contains(pruned.out, "name \"K_MAX_SPEED\": deleted\n")) << pruned.out;
    EXPECT_TRUE(contains(pruned.out, "name \"Mode_T\": kept: no run recorded its creation, so nothing shows "
                                     "what else needs it\ndeleted 1 entries\n")) << pruned.out;
    const std::string names = scm({"list", farm.location(), "--names"}).out;
    EXPECT_TRUE(contains(names, "rt_legacy\n") && contains(names, "Mode_T") && !contains(names, "K_MAX_SPEED")) << names;
    EXPECT_EQ(countOf(names, "\n"), countOf(before, "\n") - 1);
}

// A registry made before runs were recorded: the reading commands find no runs and check finds
// it sound; the next register run makes the tables and is recorded.
TEST_F(ScmExamples, ARegistryFromBeforeRunsGainsThemWhenNextWritten) {
    std::string metamodel = vrex_test::readBytes(vrex_test::shippedMetamodel());
    metamodel.erase(metamodel.find("  <package name=\"SCM_PROVENANCE\">"));
    vrex_test::writeBytes(file("old.xml"), metamodel + "</metamodel>\n");
    const TestRegistry old(file("old.scm"));
    {
        vrex::DataModelRepository repository;
        ASSERT_EQ(vrex_test::openRepository(repository, old.location(), file("old.xml")), "");
    }
    EXPECT_EQ(scm({"runs", old.location()}).out, "no runs recorded in " + SCM::getPrintableRegistryName(old.location()) + "\n");
    EXPECT_TRUE(contains(scm({"stats", old.location()}).out, "no runs recorded"));
    EXPECT_EQ(scm({"check", old.location()}).exitCode, 0);
    EXPECT_EQ(scm({"register", old.location(), example("model_a.jsonl")}).exitCode, 0);
    EXPECT_EQ(countOf(scm({"runs", old.location()}).out, "\n"), 2u);  // a header and the run
}

// Rows that hold one entry each, as runs were first recorded, are read beside the blocks of the
// runs recorded since: a registry holding them gains the block columns when next written, and an
// entry's history then shows both, oldest first. A clash's differences come back from a block as
// register printed them, tabs and backslashes included; so does an entry whose block filled and
// was written before the run ended.
TEST_F(ScmExamples, HistoryReadsRowsOfOneEntryAndBlocksAlike) {
    std::string metamodel = vrex_test::readBytes(vrex_test::shippedMetamodel());
    for (const char* added : {"      <property name=\"Bucket\" kind=\"text\" indexed=\"true\"/>\n",
                              "      <property name=\"Entries\" kind=\"text\"/>\n"}) {
        metamodel.erase(metamodel.find(added), std::string(added).size());
    }
    vrex_test::writeBytes(file("rows.xml"), metamodel);
    const TestRegistry rows(file("rows.scm"));
    const std::string key = SCM::SCMBasicUtilityIdentity("rt_sat_s32").getChecksum();
    {
        vrex::DataModelRepository repository;
        ASSERT_EQ(vrex_test::openRepository(repository, rows.location(), file("rows.xml")), "");
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        const vrex::PackageRef provenance = repository.metamodel(diagnostics).findPackage("SCM_PROVENANCE");
        const auto write = [&](const char* cls, std::vector<std::pair<const char*, std::string>> texts) {
            repository.performDictionaryFunction(
                [&](tvdiag::util::diagnostics& writing) {
                    const vrex::ObjectRef row = repository.createObject(provenance.findClass(cls), writing);
                    for (const auto& [property, text] : texts) {
                        repository.setPropertyValue(row, provenance.findClass(cls).findProperty(property),
                                                    qaArray::fromText(text), writing);
                    }
                },
                diagnostics);
        };
        const std::string run = "20260101T000000Z-0000abcd";
        write("SCM_RUNS", {{"Run", run}, {"Started", "2026-01-01T00:00:00Z"}, {"Models", "model_a"}});
        write("SCM_RUN_ENTRIES", {{"Run", run}, {"Category", "SCM_UTILITIES"}, {"Checksum", key}, {"Outcome", "created"}});
        ASSERT_TRUE(diagnostics.empty()) << diagnostics.messages();
    }
    for (const std::vector<std::string>& reading : {std::vector<std::string>{"check", rows.location()},
                                                    {"forget", rows.location(), "--model", "model_a"}}) {
        EXPECT_EQ(scm(reading).exitCode, 0) << reading[0];
    }
    EXPECT_EQ(scm({"register", rows.location(), example("model_a.jsonl"), example("model_b.jsonl")}).exitCode, 0);
    const std::string history = scm({"explain", rows.location(), "utilities", "rt_sat_s32"}).out;
    const std::size_t created = history.find("created by run 20260101T000000Z-0000abcd");
    EXPECT_NE(created, std::string::npos) << history;
    EXPECT_EQ(countOf(history.substr(created), "by run "), 3u) << history;  // then created again, merged

    std::vector<std::string> lines;
    for (int i = 0; i < 6000; ++i) lines.push_back(utilityLine("rt_many_" + std::to_string(i)));
    lines.push_back("{\"identity\": {\"class\": \"SharedFunctionIdentity\", \"ChecksumElement1\": 439041101, "
                                "\"ChecksumElement2\": 17, \"ChecksumElement3\": 1584361601, \"ChecksumElement4\": 2}, "
                                "\"data\": {\"class\": \"SharedFunctionData\", \"Name\": \"filter_update\", "
                                "\"FunctionName\": \"filter\\tupdate\\\\\", \"FileName\": \"filter_update.c\"}}");
    writeManifest("odd.jsonl", lines);
    const std::string reported = scm({"register", kRegistry, file("odd.jsonl")}).out;
    const std::size_t line = reported.find("    FunctionName: stored");
    ASSERT_NE(line, std::string::npos) << reported;
    const std::string difference = reported.substr(line, reported.find('\n', line) - line + 1);
    EXPECT_TRUE(contains(difference, "\\t") && contains(difference, "\\\\")) << difference;
    EXPECT_TRUE(contains(scm({"explain", kRegistry, "--checksum", clashKey_}).out, difference)) << difference;
    // The first of many entries in its bucket went to the storage in a block written mid-run.
    EXPECT_TRUE(contains(scm({"explain", kRegistry, "utilities", "rt_many_0"}).out, "  created by run "));
}

// What check says of each kind of damage, and what --repair makes of it.
TEST_F(ScmExamples, CheckFindsEachKindOfDamage) {
    EXPECT_EQ(scm({"check", kRegistry}).out, "OK: " + printedRegistry() + ": 11 entries; the storage is "
                                              "sound, every entry decodes and matches its checksum\n");
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

    // A checksum column that disagrees with its identity, and an identity that carries a checksum
    // its key fields do not give: neither is repairable, so no repair is offered.
    execSql(registry(), "UPDATE \"SCM_SHARED_TYPES\" SET \"Checksum\" = 'edited' WHERE \"_id\" = 2;"
                        "UPDATE \"SCM_SHARED_TYPES\" SET \"Identity\" = replace(\"Identity\", \"Checksum\", "
                        "'carried') WHERE \"_id\" = 1");
    const ToolRun edited = scm({"check", kRegistry});
    EXPECT_EQ(edited.exitCode, 1);
    EXPECT_TRUE(contains(edited.out, "problem: SCM_SHARED_TYPES object 2 (checksum \"edited\"): its "
                                     "identity computes the checksum"))
        << edited.out;
    EXPECT_TRUE(contains(edited.out, ": its identity carries the checksum \"carried\" but computes")) << edited.out;
    const std::string summary = "2 problems in " + printedRegistry() + " (10 entries checked)\n";
    EXPECT_EQ(edited.out.substr(edited.out.size() - std::min(edited.out.size(), summary.size())), summary);

    execSql(registry(),
            "PRAGMA writable_schema = ON;"
            "UPDATE sqlite_schema SET sql = 'CREATE INDEX \"index:SCM_UTILITIES.Name\" "
            "ON \"SCM_UTILITIES\" (\"Data\")' WHERE name = 'index:SCM_UTILITIES.Name'");
    const ToolRun damaged = scm({"check", kRegistry});
    EXPECT_TRUE(damaged.exitCode == 1 && contains(damaged.out, "is damaged: ")) << damaged.out;
    const ToolRun quick = scm({"check", kRegistry, "--quick"});  // does not search the pages
    EXPECT_TRUE(quick.exitCode == 1 && !contains(quick.out, "is damaged: ") && contains(quick.out, summary)) << quick.out;
}

}  // namespace
