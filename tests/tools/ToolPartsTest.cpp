// The parts of the scm tool that need no registry: the manifest line format and the progress
// line (shown only on a terminal, so never end to end).
#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <string>
#include <vector>

#include "SCMModuleEntry.hpp"
#include "scm/ManifestLine.hpp"
#include "scm/ProgressBar.hpp"
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

// Each way a line is refused gets a problem that names what is wrong (the property of a bad
// value) and quotes at most a short excerpt of the line: one row per refusing check.
TEST_F(ManifestLineTest, EachWayALineCanBeWrongSaysWhat) {
    const std::string identity = "{\"class\": \"GenericIdentity\"}";
    const std::string data = "{\"class\": \"GenericData\", \"Name\": \"n\"}";
    const std::string entry = "{\"identity\": " + identity + ", \"data\": " + data;
    const auto line = [&](const std::string& identityHalf, const std::string& dataHalf) {
        return "{\"identity\": " + identityHalf + ", \"data\": " + dataHalf + "}";
    };
    const std::vector<std::pair<std::string, std::string>> cases = {
        {entry + ", \"model\": \"m1\"}", "unknown member \"model\" (an entry has \"identity\" and \"data\")"},
        {"{\"data\": " + data + "}", "the entry has no \"identity\" object"},
        {entry + "}  x", "at column 92: unexpected text after the entry"},
        {entry + ", \"identity\": " + identity + "}", "\"identity\" is given twice"},
        {line("{\"class\": \"GenericIdentity\", \"Type\": \"SCM_SHARED_FUNCTION\"}", data),
         "property \"Type\": \"SCM_SHARED_FUNCTION\" is no category"},
        {line("{\"class\": \"GenericIdentity\", \"Type\": \"SCM_SHARED_DATA\"}",
              "{\"class\": \"SharedFunctionData\"}"),
         "class SharedCodeManager.SharedFunctionData is no record of category SCM_SHARED_DATA"},
        {line("{\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"rt_a\\u0000x\"}", data),
         "property \"UtilityIdentifier\": a NUL byte"},
        // A number too large for any integer once threw past the reader (found by fuzzing).
        {line("{\"class\": \"SharedConstantsIdentity\", \"ChecksumElement2\": 21e999}", data),
         "property \"ChecksumElement2\""},
        {line("{\"class\": \"NoSuchIdentity\"}", data), "There is no class SharedCodeManager.NoSuchIdentity."},
        {line("{\"ChecksumElement1\": 1}", data), "no \"class\" member"},
        {line("{\"class\": \"BasicUtilityIdentity\", \"Name\": " + std::string(100000, '[') +
                  std::string(100000, ']') + "}", data),
         "\"identity\" at column 57: property \"Name\": a list holds texts only, not lists"},
        {line("{\"class\": \"" + std::string(5000000, 'x') + "\"}", data), "There is no class"},
    };
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
}

// The examples of docs/manifest.md, each joined into one line, are entries.
TEST_F(ManifestLineTest, TheDocumentedExamplesAreEntries) {
    std::ifstream document(SCM_MANIFEST_DOCUMENT);
    const std::string text((std::istreambuf_iterator<char>(document)), std::istreambuf_iterator<char>());
    int examples = 0;
    for (std::size_t start = text.find("```json\n"); start != std::string::npos;
         start = text.find("```json\n", start + 1)) {
        std::string example = text.substr(start + 8, text.find("\n```\n", start) - start - 8);
        example.erase(std::remove(example.begin(), example.end(), '\n'), example.end());
        ++examples;
        EXPECT_EQ(problemOf(example), "") << example;
    }
    EXPECT_EQ(examples, 7) << SCM_MANIFEST_DOCUMENT;
}

TEST(ProgressLine, ShowsShareRateAndTimeLeftWhenTheTotalIsKnown) {
    EXPECT_EQ(ProgressBar::line(2500, 250, 1000, 2.0),
              "[#####...............]   25%  2500 entries  1250/s  0:06 left");
    EXPECT_EQ(ProgressBar::line(90000, 1000, 1000, 75.0),
              "[####################]  100%  90000 entries  1200/s  0:00 left");
    EXPECT_EQ(ProgressBar::line(4500, 700, 0, 0.5), "4500 entries  9000/s");
}

}  // namespace
