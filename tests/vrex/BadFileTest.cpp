// Opens refused before any file is touched: where no file can be made, a missing file to read, a
// busy timeout that is no number, a file a killed writer left half done. The damaged and foreign
// files are in the hostile-file table (tests/reliability).
#include <gtest/gtest.h>

#include <set>

#include "VrexTestSupport.hpp"

namespace {

using namespace vrex_test;

struct RefusedOpen {
    const char* label;
    const char* path;           // under the test's directory
    bool readOnly;
    const char* busyTimeout;    // SCM_BUSY_TIMEOUT_MS, or null to leave it unset
    const char* identifier;
    const char* words;          // the message holds them, and the path
};

std::ostream& operator<<(std::ostream& out, const RefusedOpen& refused) { return out << refused.label; }

class RefusedOpenTest : public ::testing::TestWithParam<RefusedOpen> {};

// Besides the refusal, nothing new appears in the directory and the files there keep their bytes.
TEST_P(RefusedOpenTest, SaysWhyAndMakesNothing) {
    const RefusedOpen& refused = GetParam();
    TempDir dir;
    writeBytes(dir.file("plain"), "x");
    {
        vrex::DataModelRepository repository;
        ASSERT_EQ(openRepository(repository, dir.file("killed.reg")), "");
    }
    // The rollback journal of a writer killed in its first transaction: magic, then zeros.
    writeBytes(dir.file("killed.reg-journal"), std::string("\xd9\xd5\x05\xf9", 4) + std::string(508, '\0'));
    const std::string killed = readBytes(dir.file("killed.reg"));

    if (refused.busyTimeout != nullptr) setenv("SCM_BUSY_TIMEOUT_MS", refused.busyTimeout, 1);
    auto options = thingOptions();
    options.readOnly = refused.readOnly;
    vrex::DataModelRepository repository;
    const std::string path = dir.file(refused.path);
    const std::string message = openRepository(repository, path, shippedMetamodel(), options);
    unsetenv("SCM_BUSY_TIMEOUT_MS");
    EXPECT_NE(message.find(refused.identifier), std::string::npos) << message;
    EXPECT_NE(message.find(refused.words), std::string::npos) << message;
    EXPECT_NE(message.find(path), std::string::npos) << message;
    EXPECT_FALSE(repository.isOpen());

    std::set<std::string> names;
    for (const auto& entry : fs::directory_iterator(dir.path())) names.insert(entry.path().filename().string());
    EXPECT_EQ(names, (std::set<std::string>{"plain", "killed.reg", "killed.reg-journal"}));
    EXPECT_EQ(readBytes(dir.file("plain")), "x");
    EXPECT_EQ(readBytes(dir.file("killed.reg")), killed);
}

const RefusedOpen kRefusedOpens[] = {
    {"missing directory", "missing/target.reg", false, nullptr, "vrex:open:cannotCreate", ""},
    {"file as directory", "plain/target.reg", false, nullptr, "vrex:open:cannotCreate", ""},
    {"missing file read", "absent.reg", true, nullptr, "vrex:open:notFound", ""},
    // Reading cannot roll back what a killed writer left half done; the message says what to do.
    {"unfinished transaction read", "killed.reg", true, nullptr, "vrex:open:unfinishedTransaction",
     "open it once with write access"},
    // The busy timeout must be a whole number of milliseconds.
    {"busy timeout a word", "r.reg", false, "abc", "vrex:open:badBusyTimeout", "SCM_BUSY_TIMEOUT_MS is \"abc\""},
    {"busy timeout negative", "r.reg", false, "-5", "vrex:open:badBusyTimeout", "\"-5\""},
    {"busy timeout with exponent", "r.reg", false, "1e3", "vrex:open:badBusyTimeout", "\"1e3\""},
    {"busy timeout with space", "r.reg", false, " 5", "vrex:open:badBusyTimeout", "\" 5\""},
    {"busy timeout too large", "r.reg", false, "2147483648", "vrex:open:badBusyTimeout", "\"2147483648\""},
};

std::string caseName(const ::testing::TestParamInfo<RefusedOpen>& info) {
    std::string name;
    for (const char* c = info.param.label; *c != '\0'; ++c) name += std::isalnum(*c) ? *c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, RefusedOpenTest, ::testing::ValuesIn(kRefusedOpens), caseName);

TEST(RegistryLocation, AZeroLengthFileBecomesARegistryAndTheBusyTimeoutIsRead) {
    TempDir dir;
    const std::string file = dir.file("empty.reg");
    writeBytes(file, "");
    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, file), "");
    repository.close();
    EXPECT_EQ(readBytes(file).substr(0, 15), "SQLite format 3");
    setenv("SCM_BUSY_TIMEOUT_MS", "250", 1);
    EXPECT_EQ(vrex::DataModelRepository::defaultOptions().busyTimeoutMs, 250);
    unsetenv("SCM_BUSY_TIMEOUT_MS");
}

}  // namespace
