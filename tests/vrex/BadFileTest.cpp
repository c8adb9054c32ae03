#include <gtest/gtest.h>

#include <sqlite3.h>

#include <cctype>
#include <functional>
#include <map>

#include "VrexTestSupport.hpp"

namespace {

using namespace vrex_test;

void runSql(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
}

// A registry with enough objects to span many pages.
std::string registryBytes(const TempDir& dir) {
    const std::string file = dir.file("source.reg");
    {
        vrex::DataModelRepository repository;
        EXPECT_EQ(openRepository(repository, file), "");
        Category utilities(repository, "SCM_UTILITIES");
        tvdiag::util::diagnostics diagnostics;
        for (int i = 0; i < 50; ++i) {
            vrex::ObjectRef object = repository.createObject(utilities.cls, diagnostics);
            repository.setPropertyValue(object, utilities.name, qaArray::fromText(std::string(2000, 'n')), diagnostics);
        }
    }
    return readBytes(file);
}

struct BadFile {
    const char* label;
    const char* identifier;
    std::function<void(const TempDir&, const std::string&)> make;  // makes the file at the path
};

std::ostream& operator<<(std::ostream& out, const BadFile& bad) { return out << bad.label; }

class BadFileTest : public ::testing::TestWithParam<BadFile> {};

// The file is refused with its identifier and a message naming it, and nothing in its directory
// changes: same bytes, no journal or log files beside it.
TEST_P(BadFileTest, IsRefusedAndLeftUnchanged) {
    TempDir dir;
    const std::string file = dir.file("target.reg");
    GetParam().make(dir, file);
    std::map<std::string, std::string> before;
    for (const auto& entry : fs::directory_iterator(dir.path())) {
        before[entry.path().string()] = entry.is_regular_file() ? readBytes(entry.path().string()) : "<dir>";
    }

    vrex::DataModelRepository repository;
    tvdiag::util::diagnostics diagnostics;
    repository.open(vrex::toUtf16(file), vrex::toUtf16(shippedMetamodel()), thingOptions(), diagnostics);
    ASSERT_EQ(diagnostics.size(), 1u) << diagnostics.toString();
    EXPECT_EQ(diagnostics.records()[0].identifier, GetParam().identifier) << diagnostics.toString();
    EXPECT_NE(diagnostics.records()[0].message.find("target.reg"), std::string::npos) << diagnostics.toString();
    EXPECT_FALSE(repository.isOpen());

    std::map<std::string, std::string> after;
    for (const auto& entry : fs::directory_iterator(dir.path())) {
        after[entry.path().string()] = entry.is_regular_file() ? readBytes(entry.path().string()) : "<dir>";
    }
    EXPECT_TRUE(before == after);
}

std::vector<BadFile> badFiles() {
    return {
        BadFile{"text file", "vrex:open:notARegistry",
                [](const TempDir&, const std::string& file) { writeBytes(file, "Checksum,Name\nabc,rt_foo\n"); }},
        BadFile{"foreign database", "vrex:open:notARegistry",
                [](const TempDir&, const std::string& file) {
                    runSql(file, "CREATE TABLE t (x); INSERT INTO t VALUES (1);");
                }},
        BadFile{"foreign database in WAL mode", "vrex:open:notARegistry",
                [](const TempDir&, const std::string& file) {
                    runSql(file, "PRAGMA journal_mode = WAL; CREATE TABLE t (x); INSERT INTO t VALUES (1);");
                }},
        BadFile{"database without tables", "vrex:open:notARegistry",
                [](const TempDir&, const std::string& file) { runSql(file, "PRAGMA user_version = 7;"); }},
        BadFile{"registry cut inside its header", "vrex:open:truncated",
                [](const TempDir& dir, const std::string& file) { writeBytes(file, registryBytes(dir).substr(0, 60)); }},
        BadFile{"registry cut inside a page", "vrex:open:truncated",
                [](const TempDir& dir, const std::string& file) {
                    writeBytes(file, registryBytes(dir).substr(0, 3 * 4096 + 100));
                    fs::remove(dir.file("source.reg"));
                }},
        BadFile{"registry cut at a page boundary", "vrex:open:truncated",
                [](const TempDir& dir, const std::string& file) {
                    writeBytes(file, registryBytes(dir).substr(0, 4 * 4096));
                    fs::remove(dir.file("source.reg"));
                }},
        BadFile{"directory", "vrex:open:isDirectory",
                [](const TempDir&, const std::string& file) { fs::create_directory(file); }},
    };
}

std::string caseName(const ::testing::TestParamInfo<BadFile>& info) {
    std::string name;
    for (const char* c = info.param.label; *c != '\0'; ++c) name += std::isalnum(*c) ? *c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, BadFileTest, ::testing::ValuesIn(badFiles()), caseName);

// Paths whose directory cannot hold a file: nothing is created anywhere.
TEST(BadLocation, NoFileIsCreatedWhereNoneCanBe) {
    TempDir dir;
    writeBytes(dir.file("plain"), "x");
    for (const std::string& file : {dir.file("missing/target.reg"), dir.file("plain/target.reg")}) {
        vrex::DataModelRepository repository;
        tvdiag::util::diagnostics diagnostics;
        repository.open(vrex::toUtf16(file), vrex::toUtf16(shippedMetamodel()), thingOptions(), diagnostics);
        ASSERT_EQ(diagnostics.size(), 1u) << diagnostics.toString();
        EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:open:cannotCreate");
        EXPECT_NE(diagnostics.records()[0].message.find(file), std::string::npos);
    }
    EXPECT_FALSE(fs::exists(dir.file("missing")));
    EXPECT_EQ(readBytes(dir.file("plain")), "x");
}

TEST(BadLocation, AZeroLengthFileBecomesARegistry) {
    TempDir dir;
    const std::string file = dir.file("empty.reg");
    writeBytes(file, "");
    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, file), "");
    repository.close();
    EXPECT_EQ(readBytes(file).substr(0, 15), "SQLite format 3");
}

TEST(BadLocation, ReadingAMissingFileIsRefusedWithoutCreatingIt) {
    TempDir dir;
    auto options = thingOptions();
    options.readOnly = true;
    vrex::DataModelRepository repository;
    EXPECT_NE(openRepository(repository, dir.file("absent.reg"), shippedMetamodel(), options).find("vrex:open:notFound"),
              std::string::npos);
    EXPECT_FALSE(fs::exists(dir.file("absent.reg")));
}

TEST(BadLocation, AFileWithoutWritePermissionOpensForReading) {
    if (geteuid() == 0) GTEST_SKIP() << "permissions do not bind the superuser";
    TempDir dir;
    const std::string file = dir.file("locked.reg");
    {
        vrex::DataModelRepository repository;
        ASSERT_EQ(openRepository(repository, file), "");
    }
    fs::permissions(file, fs::perms::owner_read);
    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, file), "");
    tvdiag::util::diagnostics diagnostics;
    repository.createObject(Category(repository, "SCM_NUM").cls, diagnostics);
    EXPECT_EQ(diagnostics.records().at(0).identifier, "vrex:readOnly");
}

// SCM_BUSY_TIMEOUT_MS must be a whole number of milliseconds; anything else refuses the open.
TEST(BadLocation, AnInvalidBusyTimeoutRefusesTheOpen) {
    TempDir dir;
    for (const std::string text : {"abc", "-5", "1e3", " 5", "2147483648"}) {
        setenv("SCM_BUSY_TIMEOUT_MS", text.c_str(), 1);
        vrex::DataModelRepository repository;
        const std::string refused = openRepository(repository, dir.file("r.reg"));
        EXPECT_NE(refused.find("vrex:open:badBusyTimeout"), std::string::npos) << text;
        EXPECT_NE(refused.find("SCM_BUSY_TIMEOUT_MS is \"" + text + "\""), std::string::npos) << refused;
    }
    setenv("SCM_BUSY_TIMEOUT_MS", "250", 1);
    EXPECT_EQ(vrex::DataModelRepository::defaultOptions().busyTimeoutMs, 250);
    unsetenv("SCM_BUSY_TIMEOUT_MS");
    EXPECT_FALSE(fs::exists(dir.file("r.reg")));
}

// Reading cannot roll back what a killed writer left half done; the message says what to do.
TEST(BadLocation, AnUnfinishedTransactionIsExplainedToAReader) {
    TempDir dir;
    const std::string file = dir.file("killed.reg");
    {
        vrex::DataModelRepository repository;
        ASSERT_EQ(openRepository(repository, file), "");
    }
    writeBytes(file + "-journal", std::string("\xd9\xd5\x05\xf9", 4) + std::string(508, '\0'));
    auto options = thingOptions();
    options.readOnly = true;
    vrex::DataModelRepository repository;
    const std::string refused = openRepository(repository, file, shippedMetamodel(), options);
    EXPECT_NE(refused.find("vrex:open:unfinishedTransaction"), std::string::npos) << refused;
    EXPECT_NE(refused.find("open it once with write access"), std::string::npos) << refused;
}

}  // namespace
