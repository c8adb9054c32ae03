// `scm register` end to end: the examples' outcomes, the clash report, exit codes, malformed
// lines, standard input, and an entry the registry refuses inside the run's transaction. Files
// that are not registries: ScmInspectTest.cpp.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "ScmToolRunner.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "support/DirectSql.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace scm_test;
using Json = nlohmann::json;

const char* const kValidUtility =
    "{\"identity\": {\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"rt_%\"}, "
    "\"data\": {\"class\": \"BasicUtilityData\", \"Name\": \"rt_%\", \"Identifier\": \"rt_%\"}}";

// A utility entry named rt_<name>.
std::string utilityLine(const std::string& name) {
    std::string line = kValidUtility;
    for (std::size_t at = line.find('%'); at != std::string::npos; at = line.find('%')) {
        line.replace(at, 1, name);
    }
    return line;
}

class ScmRegister : public ::testing::Test {
protected:
    ToolRun scm(const std::vector<std::string>& arguments, const std::string& input = "/dev/null") {
        return runScm(arguments, dir_.path().string(), input);
    }
    ToolRun registerExamples(const std::vector<std::string>& options = {}) {
        std::vector<std::string> arguments{"register", registry(), example("model_a.jsonl"),
                                           example("model_b.jsonl"), example("model_c.jsonl")};
        arguments.insert(arguments.end(), options.begin(), options.end());
        return scm(arguments);
    }
    void writeManifest(const std::string& name, const std::vector<std::string>& lines) {
        std::string text;
        for (const std::string& line : lines) text += line + "\n";
        vrex_test::writeBytes(dir_.file(name), text);
    }

    const std::string& registry() const { return registry_.location(); }
    // The registry as the tool prints it: a URI without its password.
    std::string printedRegistry() const { return SCM::getPrintableRegistryName(registry()); }

    vrex_test::TempDir dir_;
    TestRegistry registry_{dir_.file("registry.scm")};
};

TEST_F(ScmRegister, TheExamplesRegisterMergeAndClashOnce) {
    const ToolRun run = registerExamples();
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_TRUE(contains(run.out, "registered 11, merged 10, clashes 1, errors 0 (22 entries"))
        << run.out;
    EXPECT_EQ(run.err, "");  // no progress bar when standard error is not a terminal
}

TEST_F(ScmRegister, TheClashNamesCategoryKeyNameAndWhatDiffers) {
    const std::string key = SCM::SCMSharedFunctionIdentity(439041101, 17, 1584361601, 2).getChecksum();
    const ToolRun run = registerExamples();
    EXPECT_TRUE(contains(run.out, "model_c.jsonl:3: clash: SCM_SHARED_FUNCTIONS key \"" + key +
                                      "\" name \"filter_update\": the stored record refuses the "
                                      "offered one\n"
                                      "    Name: stored \"filter_update\", offered \"filter_update_fast\"\n"
                                      "    FunctionName: stored \"filter_update\", offered \"filter_update_fast\"\n"
                                      "    FileName: stored \"filter_update.c\", offered \"filter_update_fast.c\"\n"))
        << run.out;
}

TEST_F(ScmRegister, TheJsonSummaryCarriesCountsAndTheClash) {
    const ToolRun run = registerExamples({"--json"});
    EXPECT_EQ(run.exitCode, 1);
    const Json summary = Json::parse(run.out);
    EXPECT_EQ(summary["registry"], printedRegistry());
    EXPECT_EQ(summary["entries"], 22);
    EXPECT_EQ(summary["registered"], 11);
    EXPECT_EQ(summary["merged"], 10);
    EXPECT_EQ(summary["clashes"], 1);
    EXPECT_EQ(summary["errors"], 0);
    EXPECT_EQ(summary["committed"], true);
    ASSERT_EQ(summary["clashReports"].size(), 1u);
    const Json& clash = summary["clashReports"][0];
    EXPECT_EQ(clash["line"], 3);
    EXPECT_EQ(clash["category"], "SCM_SHARED_FUNCTIONS");
    EXPECT_EQ(clash["name"], "filter_update");
    EXPECT_EQ(clash["differences"][1],
              (Json{{"property", "FunctionName"}, {"stored", "filter_update"},
                    {"offered", "filter_update_fast"}}));
}

TEST_F(ScmRegister, ExitCodesFollowTheWorstOutcome) {
    EXPECT_EQ(scm({"register", registry(), example("model_a.jsonl")}).exitCode, 0);
    const ToolRun again = scm({"register", registry(), example("model_a.jsonl")});
    EXPECT_EQ(again.exitCode, 0);
    EXPECT_TRUE(contains(again.out, "registered 0, merged 8, clashes 0, errors 0")) << again.out;
    EXPECT_EQ(scm({"register", registry(), example("model_b.jsonl")}).exitCode, 0);
    EXPECT_EQ(scm({"register", registry(), example("model_c.jsonl")}).exitCode, 1);  // clash
    writeManifest("broken.jsonl", {"{"});
    EXPECT_EQ(scm({"register", registry(), example("model_c.jsonl"), "broken.jsonl"}).exitCode, 2);
    EXPECT_EQ(scm({"register", registry(), "absent.jsonl"}).exitCode, 2);
    EXPECT_EQ(scm({"register", registry()}).exitCode, 2);  // no manifest: a usage error
    EXPECT_EQ(scm({"register", registry(), "broken.jsonl", "--json", "-v"}).exitCode, 2);
    EXPECT_EQ(scm({"--help"}).exitCode, 0);
}

TEST_F(ScmRegister, MalformedLinesAreReportedAndKeepGoingKeepsTheValidLines) {
    writeManifest("mixed.jsonl",
                  {utilityLine("one"), "{\"identity\": ", "", utilityLine("two"),
                   "{\"identity\": {\"class\": \"NoSuchIdentity\"}, \"data\": {\"class\": \"Data\"}}",
                   "{\"identity\": {\"class\": \"SharedFunctionIdentity\", \"ChecksumElement1\": "
                   "\"seven\"}, \"data\": {\"class\": \"SharedFunctionData\"}}",
                   "[]", utilityLine("three")});
    EXPECT_TRUE(contains(scm({"register", registry(), "mixed.jsonl"}).out, "nothing was written"));
    EXPECT_EQ(scm({"list", registry(), "--names"}).out, "");
    const ToolRun run = scm({"register", registry(), "mixed.jsonl", "--keep-going"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(contains(run.out, "mixed.jsonl:2: error: at column 14: \"identity\" is not an object")) << run.out;
    EXPECT_TRUE(contains(run.out, "mixed.jsonl:5: error: \"identity\": There is no class "
                                  "SharedCodeManager.NoSuchIdentity.\n"))
        << run.out;
    EXPECT_TRUE(contains(run.out, "mixed.jsonl:6: error: \"identity\": Property ChecksumElement1 of "
                                  "SharedCodeManager.SharedFunctionIdentity: Value must be an "
                                  "integer scalar in the uint32 range"))
        << run.out;
    EXPECT_TRUE(contains(run.out, "mixed.jsonl:7: error: at column 1: the line is not a JSON object\n")) << run.out;
    EXPECT_TRUE(contains(run.out, "registered 3, merged 0, clashes 0, errors 4 (7 entries")) << run.out;
    EXPECT_EQ(scm({"list", registry(), "--names"}).out, "rt_one\nrt_two\nrt_three\n");
}

TEST_F(ScmRegister, StandardInputIsAManifest) {
    const ToolRun run = scm({"register", registry(), "-"}, example("model_a.jsonl"));
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_TRUE(contains(run.out, "registered 8, merged 0")) << run.out;
    writeManifest("broken.jsonl", {"nonsense"});
    EXPECT_TRUE(contains(scm({"register", registry(), "-"}, "broken.jsonl").out,
                         "<stdin>:1: error: at column 1: the line is not a JSON object"));
}

// Each registration is a nested transaction of the run's one transaction: an entry the registry
// refuses is undone alone, and the others are kept.
TEST_F(ScmRegister, AnEntryTheRegistryRefusesIsUndoneAlone) {
    SCM_SQLITE_ONLY("adds a refusing trigger through SQLite");
    ASSERT_EQ(scm({"register", registry(), example("model_a.jsonl")}).exitCode, 0);
    execSql(registry(),
            "CREATE TRIGGER refuse_types BEFORE INSERT ON \"SCM_SHARED_TYPES\" "
            "BEGIN SELECT RAISE(ABORT, 'refused by a test'); END");
    const ToolRun run = scm({"register", registry(), example("model_c.jsonl"), "--keep-going"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(contains(run.out, "model_c.jsonl:5: error: SCM_SHARED_TYPES key")) << run.out;
    EXPECT_TRUE(contains(run.out, "the registry could not store the entry: ")) << run.out;
    EXPECT_TRUE(contains(run.out, "refused by a test")) << run.out;
    EXPECT_TRUE(contains(run.out, "registered 1, merged 5, clashes 1, errors 1")) << run.out;
    EXPECT_EQ(scm({"list", registry(), "types", "--names"}).out, "Bus_Sensor\n");
    EXPECT_TRUE(contains(scm({"show", registry(), "utilities", "rt_sat_s32"}).out,
                         "[\"model_a\", \"model_c\"]"));
}

}  // namespace
