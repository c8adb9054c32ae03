// The parts of the scm tool that need no registry: the manifest line format, category names,
// the progress line, the table printed as it grows and the reuse statistics.
#include <gtest/gtest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include "SCMModuleEntry.hpp"
#include "scm/Categories.hpp"
#include "scm/ManifestLine.hpp"
#include "scm/ProgressBar.hpp"
#include "scm/ReuseStats.hpp"
#include "scm/TextTable.hpp"
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

// Each refused line gets a problem that names what is wrong (the property of a bad value) and
// quotes at most a short excerpt of the line.
TEST_F(ManifestLineTest, EachWayALineCanBeWrongSaysWhat) {
    const std::string identity = "{\"class\": \"GenericIdentity\"}";
    const std::string data = "{\"class\": \"GenericData\", \"Name\": \"n\"}";
    const std::string entry = "{\"identity\": " + identity + ", \"data\": " + data;
    const auto line = [&](const std::string& identityHalf, const std::string& dataHalf) {
        return "{\"identity\": " + identityHalf + ", \"data\": " + dataHalf + "}";
    };
    const auto functionIdentity = [](const std::string& element1) {
        return "{\"class\": \"SharedFunctionIdentity\", \"ChecksumElement1\": " + element1 + "}";
    };
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const std::vector<std::pair<std::string, std::string>> cases = {
        {"{\"identity\": 1", "at column 14: \"identity\" is not an object"},
        {"\"text\"", "at column 1: the line is not a JSON object"},
        {entry + ", \"model\": \"m1\"}", "unknown member \"model\" (an entry has \"identity\" and \"data\")"},
        {"{\"data\": " + data + "}", "the entry has no \"identity\" object"},
        {entry + "}  x", "at column 92: unexpected text after the entry"},
        {line("{\"class\": \"GenericData\"}", data),
         "\"identity\": Class SharedCodeManager.GenericData is not a SharedCodeManager.Identity."},
        {line(identity, "{\"class\": \"GenericData\", \"Identifier\": \"\\u0100\"}"),
         "\"data\" at column 92: property \"Identifier\": a character above U+00FF"},
        {line("{\"class\": \"GenericIdentity\", \"Type\": \"SCM_BOGUS\"}", data),
         "property \"Type\": \"SCM_BOGUS\" is no category"},
        {line("{\"class\": \"GenericIdentity\", \"Type\": \"SCM_SHARED_FUNCTION\"}", data),
         "property \"Type\": \"SCM_SHARED_FUNCTION\" is no category"},
        {line("{\"class\": \"SharedTypesIdentity\", \"Type\": \"\"}", data), "property \"Type\": \"\""},
        {line(functionIdentity("1"), "{\"class\": \"SharedConstantsData\"}"),
         "class SharedCodeManager.SharedConstantsData is no record of category SCM_SHARED_FUNCTIONS"},
        {line("{\"class\": \"GenericIdentity\", \"Type\": \"SCM_SHARED_DATA\"}",
              "{\"class\": \"SharedFunctionData\"}"),
         "class SharedCodeManager.SharedFunctionData is no record of category SCM_SHARED_DATA"},
        {entry + ", \"identity\": " + identity + "}", "\"identity\" is given twice"},
        {line(identity, "{\"class\": \"GenericData\", \"Name\": \"x\", \"Name\": \"n\"}"),
         "property \"Name\": given twice"},
        {line("{\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"rt_a\\u0000x\"}", data),
         "property \"UtilityIdentifier\": a NUL byte"},
        {line("{\"class\": \"GenericIdentity\", \"DesiredIdentifier\": \"a\\u0000\"}", data),
         "property \"DesiredIdentifier\": a NUL byte"},
        {line(functionIdentity("4294967296"), data), "property \"ChecksumElement1\": the integer is out of range"},
        {line(functionIdentity("1.5"), data), "property \"ChecksumElement1\": a number with a fraction"},
        {line(functionIdentity("null"), data), "property \"ChecksumElement1\": null is not a value"},
        {line(functionIdentity("\"seven\""), data),
         "\"identity\": Property ChecksumElement1 of SharedCodeManager.SharedFunctionIdentity: Value "
         "must be an integer scalar in the uint32 range"},
        // A number too large for any integer once threw past the reader (found by fuzzing).
        {line("{\"class\": \"SharedConstantsIdentity\", \"ChecksumElement2\": 21e999}", data),
         "property \"ChecksumElement2\""},
        {line("{\"class\": \"NoSuchIdentity\"}", data), "There is no class SharedCodeManager.NoSuchIdentity."},
        {line("{\"ChecksumElement1\": 1}", data), "no \"class\" member"},
        {line("{\"class\": \"BasicUtilityIdentity\", \"Name\": " + deep + "}", data),
         "\"identity\" at column 57: property \"Name\": a list holds texts only, not lists"},
        {line("{\"class\": \"" + std::string(5000000, 'x') + "\"}", data), "There is no class"},
    };
    EXPECT_EQ(problemOf(entry + "}"), "");
    for (const auto& [text, expected] : cases) {
        const std::string problem = problemOf(text);
        EXPECT_NE(problem.find(expected), std::string::npos) << text.substr(0, 200) << "\n" << problem;
        EXPECT_LT(problem.size(), 400u) << problem.substr(0, 400);
    }
}

// Lines written in any of the ways JSON allows are entries: halves in either order, white space,
// a byte order mark, escapes (in member names too), bytes above 0x7F, short and full class names,
// properties in any order, a stored checksum that wins over the key fields.
TEST_F(ManifestLineTest, LinesWrittenAnyValidWayAreEntries) {
    const std::vector<std::string> lines = {
        "{\"identity\":{\"class\":\"BasicUtilityIdentity\",\"UtilityIdentifier\":\"rt_a\"},"
        "\"data\":{\"class\":\"BasicUtilityData\",\"Name\":\"rt_a\",\"Identifier\":\"rt_a\","
        "\"ModelNames\":[\"m1\",\"m\\u00e9\"],\"Traceability\":[\"m1:a/b\\\"c\"],"
        "\"Multiword\":true}}",
        "\xef\xbb\xbf { \"data\" : { \"Name\" : \"K\xc3\xa9\", \"class\" : \"SharedConstantsData\", "
        "\"InitialString\" : \"-1\\t2\" } ,\t\"identit\\u0079\" : { \"ChecksumElement4\" : 4, "
        "\"ChecksumElement1\" : 0, \"class\" : \"SharedCodeManager.SharedConstantsIdentity\" } } ",
        "{\"identity\":{\"class\":\"SharedFunctionIdentity\",\"Checksum\":\"stored\","
        "\"ChecksumElement1\":-0},"
        "\"data\":{\"class\":\"SharedFunctionData\",\"FunctionName\":\"f\"}}",
    };
    for (const std::string& line : lines) EXPECT_EQ(problemOf(line), "") << line;
    OwnedEntry entry;
    std::string problem;
    ASSERT_TRUE(parseManifestLine(lines.back(), entry, problem)) << problem;
    EXPECT_EQ(entry.identity->getChecksum(), "stored");
    // Short and full class names give the same entry.
    OwnedEntry fullNames;
    ASSERT_TRUE(parseManifestLine(
        "{\"data\": {\"class\": \"SharedCodeManager.SharedFunctionData\", \"FunctionName\": \"f\"}, "
        "\"identity\": {\"class\": \"SharedCodeManager.SharedFunctionIdentity\", \"Checksum\": "
        "\"stored\", \"ChecksumElement1\": 0}}",
        fullNames, problem))
        << problem;
    EXPECT_EQ(manifestLine(*fullNames.identity, *fullNames.data), manifestLine(*entry.identity, *entry.data));
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

// A utility names its models and those of its traceability ("model:path"). Only the `top` most
// shared are kept; the counts and models still cover every piece.
TEST(ReuseStats, KeepsTheMostSharedInOrderAndCountsEveryPiece) {
    HxInitialize_shared_code_manager();
    SCM::SCMBasicUtilityData traced("rt_sat", "rt_sat");
    traced.setModelNames({"m1", ""});
    traced.setTraceability({"m2:Sub/Block", "m1:Other", "no model"});
    EXPECT_EQ(ReuseStats::modelsOf(traced), (std::set<std::string>{"m1", "m2"}));
    SCM::SCMSharedFunctionData function("f", "f.c");
    EXPECT_TRUE(ReuseStats::modelsOf(function).empty());
    ReuseStats stats(2);
    const std::vector<std::pair<std::string, std::vector<std::string>>> pieces = {
        {"b", {"m1"}}, {"a", {"m1"}}, {"c", {"m1", "m2"}}, {"d", {}}, {"a", {"m3"}}};
    for (const auto& [name, models] : pieces) {
        SCM::SCMGenericIdentity identity(SCM::SCM_UTILITIES, name);
        SCM::SCMBasicUtilityData utility(name, name);
        utility.setName(name);
        utility.setModelNames(models);
        stats.add(identity, utility);
    }
    SCM::SCMGenericIdentity identity(SCM::SCM_OTHER, "other");
    SCM::SCMGenericData other("x");
    stats.add(identity, other);
    std::string order;
    for (const ReuseStats::Piece& piece : stats.mostShared()) order += piece.name + *piece.models.begin();
    EXPECT_EQ(order, "cm1am1");  // then a (m3), added later, b and d
    EXPECT_EQ(stats.pieces(), 5u);
    EXPECT_EQ(stats.total(), 6u);
    EXPECT_EQ(stats.models(), (std::set<std::string>{"m1", "m2", "m3"}));
    EXPECT_EQ(stats.piecesPerModelCount(), (std::map<std::size_t, std::size_t>{{0, 1}, {1, 3}, {2, 1}}));
}

// Flushed, a table keeps the widths of its first rows; a wider later cell widens its own line.
TEST(TextTable, AFlushedTableKeepsTheWidthsOfItsFirstRows) {
    TextTable table({"N", "NAME"});
    table.alignRight(0);
    table.addRow({"1", "ab"});
    std::ostringstream out;
    table.flush(out);
    table.addRow({"22", "a"});
    table.addRow({"3", "abcd"});
    table.flush(out);
    EXPECT_EQ(out.str(), "N  NAME\n1  ab\n22  a\n3  abcd\n");
}

}  // namespace
