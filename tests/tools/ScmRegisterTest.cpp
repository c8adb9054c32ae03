// `scm register` end to end: the examples' outcomes, the clash report in text and JSON, exit
// codes, malformed lines and standard input. Failures of the registry: ScmHostileTest.cpp.
#include <gtest/gtest.h>

#include <nlohmann/json.hpp>

#include "SCMSharedFunctionIdentity.hpp"
#include "ScmToolRunner.hpp"

namespace {

using namespace scm_test;
using Json = nlohmann::json;

class ScmRegister : public ::testing::Test, public ToolSandbox {};

TEST_F(ScmRegister, TheExamplesRegisterMergeAndReportTheirOneClash) {
    const std::string key = SCM::SCMSharedFunctionIdentity(439041101, 17, 1584361601, 2).getChecksum();
    const ToolRun run = registerExamples();
    EXPECT_EQ(run.exitCode, 1) << run.out << run.err;
    EXPECT_TRUE(contains(run.out, "registered 11, merged 10, clashes 1, errors 0 (22 entries")) << run.out;
    EXPECT_EQ(run.err, "");  // no progress bar when standard error is not a terminal
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
    Json summary = Json::parse(run.out);
    const Json clash = summary["clashReports"][0];
    EXPECT_EQ(summary["clashReports"].size(), 1u);
    EXPECT_EQ(summary["errorReports"], Json::array());
    for (const char* varying : {"seconds", "clashReports", "errorReports"}) summary.erase(varying);
    EXPECT_EQ(summary, (Json{{"registry", printedRegistry()}, {"entries", 22}, {"registered", 11},
                             {"merged", 10}, {"clashes", 1}, {"errors", 0}, {"committed", true}}));
    EXPECT_EQ(clash["line"], 3);
    EXPECT_EQ(clash["category"], "SCM_SHARED_FUNCTIONS");
    EXPECT_EQ(clash["name"], "filter_update");
    EXPECT_EQ(clash["differences"][1],
              (Json{{"property", "FunctionName"}, {"stored", "filter_update"},
                    {"offered", "filter_update_fast"}}));
}

TEST_F(ScmRegister, ExitCodesFollowTheWorstOutcome) {
    writeManifest("broken.jsonl", {"{"});
    const std::vector<std::pair<std::vector<std::string>, int>> runs = {
        {{"register", kRegistry, example("model_a.jsonl")}, 0},
        {{"register", kRegistry, example("model_a.jsonl")}, 0},  // all merged
        {{"register", kRegistry, example("model_b.jsonl")}, 0},
        {{"register", kRegistry, example("model_c.jsonl")}, 1},  // a clash
        {{"register", kRegistry, example("model_c.jsonl"), "broken.jsonl"}, 2},
        {{"register", kRegistry, "absent.jsonl"}, 2},
        {{"register", kRegistry}, 2},  // no manifest: a usage error
        {{"register", kRegistry, "broken.jsonl", "--json", "-v"}, 2},
        {{"--help"}, 0},
    };
    for (const auto& [arguments, exitCode] : runs) {
        const ToolRun run = scm(arguments);
        EXPECT_EQ(run.exitCode, exitCode) << arguments.back() << "\n" << run.out << run.err;
    }
}

TEST_F(ScmRegister, MalformedLinesAreReportedAndKeepGoingKeepsTheValidLines) {
    writeManifest("mixed.jsonl", {utilityLine("rt_one"), "{\"identity\": ", "", utilityLine("rt_two"),
                                  "[]", utilityLine("rt_three")});
    EXPECT_TRUE(contains(scm({"register", kRegistry, "mixed.jsonl"}).out, "nothing was written"));
    EXPECT_EQ(scm({"list", kRegistry, "--names"}).out, "");
    const ToolRun run = scm({"register", kRegistry, "mixed.jsonl", "--keep-going"});
    EXPECT_EQ(run.exitCode, 2);
    EXPECT_TRUE(contains(run.out, "mixed.jsonl:2: error: at column 14: \"identity\" is not an object")) << run.out;
    EXPECT_TRUE(contains(run.out, "mixed.jsonl:5: error: at column 1: the line is not a JSON object\n")) << run.out;
    EXPECT_TRUE(contains(run.out, "registered 3, merged 0, clashes 0, errors 2 (5 entries")) << run.out;
    EXPECT_EQ(scm({"list", kRegistry, "--names"}).out, "rt_one\nrt_two\nrt_three\n");
}

TEST_F(ScmRegister, StandardInputIsAManifest) {
    const ToolRun run = scmReading({"register", kRegistry, "-"}, example("model_a.jsonl"));
    EXPECT_EQ(run.exitCode, 0) << run.out << run.err;
    EXPECT_TRUE(contains(run.out, "registered 8, merged 0")) << run.out;
    writeManifest("broken.jsonl", {"nonsense"});
    EXPECT_TRUE(contains(scmReading({"register", kRegistry, "-"}, "broken.jsonl").out,
                         "<stdin>:1: error: at column 1: the line is not a JSON object"));
}

}  // namespace
