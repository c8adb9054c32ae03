// The parts of the scm tool that need no registry: the manifest line format, category names,
// the progress line and the models a record names.
#include <gtest/gtest.h>

#include <fstream>
#include <string>
#include <vector>

#include "SCMModuleEntry.hpp"
#include "scm/Categories.hpp"
#include "scm/ManifestHalves.hpp"
#include "scm/ManifestLine.hpp"
#include "scm/ProgressBar.hpp"
#include "scm/ReuseStats.hpp"
#include "shared_code_manager.hpp"

namespace {

using namespace scm_tool;

class ManifestLineTest : public ::testing::Test {
protected:
    void SetUp() override { HxInitialize_shared_code_manager(); }

    // The problem of a line that does not parse; "" when it parses.
    std::string problemOf(const std::string& line) {
        OwnedEntry entry;
        std::string problem;
        const bool parsed = parseManifestLine(line, entry, problem);
        EXPECT_EQ(parsed, problem.empty()) << line;
        return problem;
    }
};

TEST_F(ManifestLineTest, ShortAndFullClassNamesGiveTheSameEntry) {
    OwnedEntry shortNames;
    OwnedEntry fullNames;
    std::string problem;
    ASSERT_TRUE(parseManifestLine(
        "{\"identity\": {\"class\": \"SharedFunctionIdentity\", \"ChecksumElement1\": 1, "
        "\"ChecksumElement2\": 2, \"ChecksumElement3\": 3, \"ChecksumElement4\": 4}, "
        "\"data\": {\"class\": \"SharedFunctionData\", \"FunctionName\": \"rt_add\"}}",
        shortNames, problem))
        << problem;
    ASSERT_TRUE(parseManifestLine(
        "{\"data\": {\"class\": \"SharedCodeManager.SharedFunctionData\", \"FunctionName\": "
        "\"rt_add\"}, \"identity\": {\"class\": \"SharedCodeManager.SharedFunctionIdentity\", "
        "\"ChecksumElement1\": 1, \"ChecksumElement2\": 2, \"ChecksumElement3\": 3, "
        "\"ChecksumElement4\": 4}}",
        fullNames, problem))
        << problem;
    // The checksum of the four elements 1, 2, 3, 4.
    EXPECT_EQ(shortNames.identity->getChecksum(), "U4NdP7g6UUORzSSeCh2CSC");
    EXPECT_EQ(manifestLine(*shortNames.identity, *shortNames.data),
              manifestLine(*fullNames.identity, *fullNames.data));
}

TEST_F(ManifestLineTest, AWrittenLineReadsBackEqual) {
    SCM::SCMBasicUtilityIdentity identity("rt_sat");
    identity.setSymbolString("sat\xff");
    SCM::SCMBasicUtilityData data("rt_sat_s32", "rt_sat");
    data.setModelNames({"m1", "m\xe9"});
    data.setTraceability({"m1:a/b"});
    const std::string line = manifestLine(identity, data);
    OwnedEntry entry;
    std::string problem;
    ASSERT_TRUE(parseManifestLine(line, entry, problem)) << problem;
    EXPECT_EQ(manifestLine(*entry.identity, *entry.data), line);
    EXPECT_EQ(entry.identity->getChecksum(), identity.getChecksum());
}

TEST_F(ManifestLineTest, EachWayALineCanBeWrongSaysWhat) {
    EXPECT_EQ(problemOf("{\"identity\": {\"class\": \"GenericIdentity\"}, \"data\": {\"class\": "
                        "\"GenericData\"}}"),
              "");
    EXPECT_EQ(problemOf("{\"identity\": 1"), "not valid JSON at column 15: syntax error while "
                                              "parsing object - unexpected end of input; expected "
                                              "'}'");
    EXPECT_EQ(problemOf("\"text\""), "the line is not a JSON object");
    EXPECT_EQ(problemOf("{\"identity\": {}, \"data\": {}, \"model\": \"m1\"}"),
              "unknown member \"model\" (an entry has \"identity\" and \"data\")");
    EXPECT_EQ(problemOf("{\"data\": {\"class\": \"GenericData\"}}"),
              "the entry has no \"identity\" object");
    EXPECT_EQ(problemOf("{\"identity\": {\"class\": \"GenericData\"}, \"data\": {}}"),
              "\"identity\": Class SharedCodeManager.GenericData is not a SharedCodeManager.Identity.");
    EXPECT_EQ(problemOf("{\"identity\": {\"class\": \"GenericIdentity\"}, \"data\": {\"class\": "
                        "\"GenericData\", \"Identifier\": \"\\u0100\"}}")
                  .rfind("\"data\": The text is not an object encoding", 0),
              0u);
}

// The one-pass reading and the general JSON reading build the same entry from each line: halves
// in either order, white space, escapes, bytes above 0x7F, short and full class names, properties
// in any order, a stored checksum that wins over the key fields.
TEST_F(ManifestLineTest, BothReadingsBuildTheSameEntry) {
    const std::vector<std::string> lines = {
        "{\"identity\":{\"class\":\"BasicUtilityIdentity\",\"UtilityIdentifier\":\"rt_a\"},"
        "\"data\":{\"class\":\"BasicUtilityData\",\"Name\":\"rt_a\",\"Identifier\":\"rt_a\","
        "\"ModelNames\":[\"m1\",\"m\\u00e9\"],\"Traceability\":[\"m1:a/b\\\"c\"],"
        "\"Multiword\":true}}",
        " { \"data\" : { \"Name\" : \"K\xc3\xa9\", \"class\" : \"SharedConstantsData\", "
        "\"InitialString\" : \"-1\\t2\" } ,\t\"identity\" : { \"ChecksumElement4\" : 4, "
        "\"ChecksumElement1\" : 0, \"class\" : \"SharedCodeManager.SharedConstantsIdentity\" } } ",
        "{\"identity\":{\"class\":\"SharedFunctionIdentity\",\"Checksum\":\"stored\","
        "\"ChecksumElement1\":-0},"
        "\"data\":{\"class\":\"SharedFunctionData\",\"FunctionName\":\"f\"}}",
    };
    for (const std::string& line : lines) {
        kobj::EncodedObject identity;
        kobj::EncodedObject data;
        EXPECT_TRUE(readManifestHalves(line, identity, data)) << line;
        OwnedEntry onePass;
        OwnedEntry json;
        std::string problem;
        ASSERT_TRUE(parseManifestLine(line, onePass, problem)) << line << ": " << problem;
        ASSERT_TRUE(parseManifestLineAsJson(line, json, problem)) << line << ": " << problem;
        EXPECT_EQ(manifestLine(*onePass.identity, *onePass.data),
                  manifestLine(*json.identity, *json.data));
        EXPECT_EQ(onePass.identity->getChecksum(), json.identity->getChecksum());
    }
}

// Lines that are entries but not written the usual way are left to the JSON reading, which
// accepts them; lines that are no entries get its messages.
TEST_F(ManifestLineTest, UnusualLinesAreReadAsGeneralJson) {
    const std::string identity = "{\"class\": \"GenericIdentity\"}";
    const std::string data = "{\"class\": \"GenericData\", \"Name\": \"n\"}";
    const std::vector<std::string> entries = {
        "{\"identit\\u0079\": " + identity + ", \"data\": " + data + "}",
        "{\"identity\": " + identity + ", \"data\": {\"class\": \"GenericData\", \"Name\": \"x\", "
        "\"Name\": \"n\"}}",
    };
    for (const std::string& line : entries) {
        kobj::EncodedObject left;
        kobj::EncodedObject right;
        EXPECT_FALSE(readManifestHalves(line, left, right)) << line;
        EXPECT_EQ(problemOf(line), "") << line;
    }
    const std::vector<std::string> refused = {
        "{\"identity\": " + identity + ", \"identity\": " + identity + "}",
        "{\"identity\": " + identity + "}",
        "{\"identity\": " + identity + ", \"data\": " + data + "} x",
        "{\"identity\": " + identity + ", \"data\": " + data + ", \"model\": \"m\"}",
    };
    for (const std::string& line : refused) {
        kobj::EncodedObject left;
        kobj::EncodedObject right;
        EXPECT_FALSE(readManifestHalves(line, left, right)) << line;
        EXPECT_NE(problemOf(line), "") << line;
    }
    EXPECT_EQ(problemOf("{\"identity\": " + identity + ", \"data\": " + data + "} x"),
              "not valid JSON at column 91: syntax error while parsing value - invalid literal; "
              "last read: '\"n\"}} x'; expected end of input");
}

// A number too large for any integer made the JSON parser throw an error of another kind than a
// syntax error, which escaped the reader and ended `scm register` (found by fuzzing).
TEST_F(ManifestLineTest, RegressionNumberOutOfRangeIsAProblemNotACrash) {
    const std::string problem = problemOf(
        "{\"identity\": {\"class\": \"SharedConstantsIdentity\", \"ChecksumElement2\": 21e999}}");
    EXPECT_EQ(problem.rfind("not valid JSON", 0), 0u) << problem;
}

// The examples of docs/manifest.md, each joined into one line, are entries.
TEST_F(ManifestLineTest, TheDocumentedExamplesAreEntries) {
    std::ifstream document(SCM_MANIFEST_DOCUMENT);
    ASSERT_TRUE(document) << SCM_MANIFEST_DOCUMENT;
    std::string line;
    std::string example;
    bool inExample = false;
    int examples = 0;
    while (std::getline(document, line)) {
        if (line == "```json") {
            inExample = true;
            example.clear();
        } else if (inExample && line == "```") {
            inExample = false;
            ++examples;
            EXPECT_EQ(problemOf(example), "") << example;
        } else if (inExample) {
            example += line;
        }
    }
    EXPECT_EQ(examples, 7);
}

TEST(Categories, EnumeratorNamesAndShortFormsIgnoringCase) {
    EXPECT_EQ(parseCategory("functions"), SCM::SCM_SHARED_FUNCTIONS);
    EXPECT_EQ(parseCategory("SCM_SHARED_FUNCTIONS"), SCM::SCM_SHARED_FUNCTIONS);
    EXPECT_EQ(parseCategory("Constants"), SCM::SCM_SHARED_CONSTANTS);
    EXPECT_EQ(parseCategory("scm_num"), SCM::SCM_NUM);
    EXPECT_EQ(shortName(SCM::SCM_SHARED_DATA), "data");
    EXPECT_EQ(allCategories().size(), 7u);
    // Unlike the library's name table, an unknown name is no category and is not remembered.
    const std::size_t names = SCM::scmTypeNameTableSize();
    EXPECT_EQ(parseCategory("function"), std::nullopt);
    EXPECT_EQ(SCM::scmTypeNameTableSize(), names);
}

TEST(ProgressLine, ShowsShareRateAndTimeLeftWhenTheTotalIsKnown) {
    EXPECT_EQ(ProgressBar::line(2500, 250, 1000, 2.0),
              "[#####...............]   25%  2500 entries  1250/s  0:06 left");
    EXPECT_EQ(ProgressBar::line(90000, 1000, 1000, 75.0),
              "[####################]  100%  90000 entries  1200/s  0:00 left");
    EXPECT_EQ(ProgressBar::line(4500, 700, 0, 0.5), "4500 entries  9000/s");
}

TEST(ReuseStats, AUtilityNamesItsModelsAndTheModelsOfItsTraceability) {
    SCM::SCMBasicUtilityData utility("rt_sat", "rt_sat");
    utility.setModelNames({"m1", ""});
    utility.setTraceability({"m2:Sub/Block", "m1:Other", "no model"});
    EXPECT_EQ(ReuseStats::modelsOf(utility), (std::set<std::string>{"m1", "m2"}));
    SCM::SCMSharedFunctionData function("f", "f.c");
    EXPECT_TRUE(ReuseStats::modelsOf(function).empty());
}

}  // namespace
