// Registries that were damaged, are read-only, or are locked by another process: each gives the
// prescribed outcome (refused open, absent entry, IS_TRANSACTION_ERROR), with no crash, and the
// file keeps its bytes unless a write was asked for and allowed. Every case is observed in a
// child process, which drops its privileges where permissions must bind.
#include <gtest/gtest.h>

#include <poll.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <filesystem>
#include <fstream>
#include <functional>
#include <memory>
#include <random>
#include <sstream>

#include "reliability/RegistryCheck.hpp"
#include "reliability/Workload.hpp"
#include "vrex/DataModelRepository.hpp"
#include "vrex/Utf16.hpp"
#include "vrex/internal/sqlite/RegistryFileProbe.hpp"

namespace {

using namespace SCM;
using namespace reliability;
namespace fs = std::filesystem;

constexpr unsigned kKeys = 300;        // 50 entries in each category
constexpr unsigned kDamagedKey = 0;    // a utility: the damage aims at its category
constexpr unsigned kIntactKey = 1;     // a shared function
constexpr int kNobody = 65534;

std::string readBytes(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();
    return bytes.str();
}

void writeBytes(const std::string& file, const std::string& bytes) {
    std::ofstream(file, std::ios::binary | std::ios::trunc) << bytes;
}

void runSql(const std::string& file, const std::string& sql) {
    sqlite3* db = nullptr;
    ASSERT_EQ(sqlite3_open(file.c_str(), &db), SQLITE_OK);
    EXPECT_EQ(sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr), SQLITE_OK) << sqlite3_errmsg(db);
    sqlite3_close(db);
}

int rootPage(const std::string& file, const std::string& name) {
    sqlite3* db = nullptr;
    sqlite3_open(file.c_str(), &db);
    sqlite3_stmt* query = nullptr;
    sqlite3_prepare_v2(db, "SELECT rootpage FROM sqlite_master WHERE name = ?1", -1, &query, nullptr);
    sqlite3_bind_text(query, 1, name.c_str(), -1, SQLITE_TRANSIENT);
    const int page = sqlite3_step(query) == SQLITE_ROW ? sqlite3_column_int(query, 0) : 0;
    sqlite3_finalize(query);
    sqlite3_close(db);
    return page;
}

// Overwrites page `page` (1-based, 4096 bytes; page 1 after its 100-byte file header) with
// random bytes.
void overwritePage(const std::string& file, int page) {
    ASSERT_GT(page, 0);
    std::string bytes = readBytes(file);
    std::mt19937 random(static_cast<unsigned>(page));
    const std::size_t begin = (page - 1) * 4096 + (page == 1 ? 100 : 0);
    ASSERT_LE(page * 4096u, bytes.size());
    for (std::size_t i = begin; i < page * 4096u; ++i) bytes[i] = static_cast<char>(random());
    writeBytes(file, bytes);
}

std::string checksumOf(unsigned key) { return contribution(key, "builder").identity->getChecksum(); }

// The registry under test, in a directory that an unprivileged process may enter.
struct Target {
    std::string directory;
    std::string file;
};

// Something a case keeps running while the registry is observed (a process holding a lock).
using Guard = std::shared_ptr<void>;

// A process that holds a lock on `file` until the guard is dropped: `sql` is run and kept open.
Guard lockHolder(const std::string& file, const std::string& sql) {
    int ready[2], release[2];
    if (pipe(ready) != 0 || pipe(release) != 0) return nullptr;
    const pid_t pid = fork();
    if (pid == 0) {
        close(ready[0]);
        close(release[1]);
        sqlite3* db = nullptr;
        sqlite3_open(file.c_str(), &db);
        const char locked = sqlite3_exec(db, sql.c_str(), nullptr, nullptr, nullptr) == SQLITE_OK ? 1 : 0;
        if (write(ready[1], &locked, 1) != 1) _exit(1);
        pollfd until{release[0], POLLIN, 0};
        poll(&until, 1, 60000);  // bounded: the test process closes the pipe long before
        _exit(0);                // the lock goes with the process
    }
    close(ready[1]);
    close(release[0]);
    char locked = 0;
    const bool holding = read(ready[0], &locked, 1) == 1 && locked == 1;
    close(ready[0]);
    EXPECT_TRUE(holding) << "cannot lock " << file << " with: " << sql;
    return Guard(new int(release[1]), [pid](int* fd) {
        close(*fd);
        waitpid(pid, nullptr, 0);
        delete fd;
    });
}

// What a registration run sees on the registry.
struct Observation {
    bool finished = false;
    bool opens = false;
    bool damagedPresent = false;  // retrieveData of the key in the damaged category
    bool intactPresent = false;   // retrieveData of a key in another category
    SCMRegistry write = IS_EMPTY;  // registerDataInTransaction of the damaged key
    bool refusedForWriting = false;  // an open with requireWrite says the registry is read-only
};

Observation observeHere(const std::string& file) {
    Observation seen;
    SharedCodeManagerInterface registry(file);
    seen.opens = registry.getDataAdapter()->doesExist();
    Contribution damaged = contribution(kDamagedKey, "visitor");
    Contribution intact = contribution(kIntactKey, "visitor");
    std::unique_ptr<SCMData> found(registry.retrieveData(damaged.identity.get()));
    seen.damagedPresent = found != nullptr;
    found.reset(registry.retrieveData(intact.identity.get()));
    seen.intactPresent = found != nullptr;
    seen.write = registry.registerDataInTransaction(damaged.identity.get(), damaged.data.get());
    vrex::DataModelRepository::Options writable = vrex::DataModelRepository::defaultOptions();
    writable.requireWrite = true;
    vrex::DataModelRepository repository;
    tvdiag::util::diagnostics diagnostics;
    repository.open(vrex::toUtf16(file), vrex::toUtf16(getMetaModelFile()), writable, diagnostics);
    seen.refusedForWriting = diagnostics.size() == 1 && diagnostics.records()[0].identifier == "vrex:open:readOnly";
    seen.finished = true;
    return seen;
}

// Observes in a child process (as nobody when `unprivileged` and this process is the superuser),
// with a short busy timeout. A crash of the child reads as an unfinished observation.
Observation observe(const std::string& file, bool unprivileged) {
    int channel[2];
    if (pipe(channel) != 0) return {};
    const pid_t pid = fork();
    if (pid == 0) {
        close(channel[0]);
        if (unprivileged && geteuid() == 0 && (setgid(kNobody) != 0 || setuid(kNobody) != 0)) _exit(2);
        setenv("SCM_BUSY_TIMEOUT_MS", "300", 1);
        const Observation seen = observeHere(file);
        _exit(write(channel[1], &seen, sizeof seen) == sizeof seen ? 0 : 1);
    }
    close(channel[1]);
    Observation seen;
    if (read(channel[0], &seen, sizeof seen) != sizeof seen) seen = Observation();
    close(channel[0]);
    waitpid(pid, nullptr, 0);
    return seen;
}

struct HostileCase {
    const char* label;
    std::function<Guard(const Target&)> damage;
    bool unprivileged;
    bool opens;
    bool damagedPresent;
    SCMRegistry write;
    bool mayChange;  // the write is allowed, so the file may change
};

std::ostream& operator<<(std::ostream& out, const HostileCase& hostile) { return out << hostile.label; }

Guard truncateTo(const Target& target, double fraction, long offset) {
    std::string bytes = readBytes(target.file);
    writeBytes(target.file, bytes.substr(0, static_cast<std::size_t>(bytes.size() * fraction + offset)));
    return nullptr;
}

Guard sql(const Target& target, const std::string& statements) {
    runSql(target.file, statements);
    return nullptr;
}

std::string setDamagedData(const std::string& text) {
    return "UPDATE \"SCM_UTILITIES\" SET \"Data\" = '" + text + "' WHERE \"Checksum\" = '" +
           checksumOf(kDamagedKey) + "'";
}

Guard readOnly(const std::string& path, fs::perms perms) {
    fs::permissions(path, perms);
    return nullptr;
}

const fs::perms kReadable = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
const fs::perms kOpenDirectory = fs::perms::all;
const fs::perms kClosedDirectory = kReadable | fs::perms::owner_exec | fs::perms::group_exec |
                                   fs::perms::others_exec;

std::vector<HostileCase> hostileCases() {
    const auto truncated = [](double fraction, long offset) {
        return [=](const Target& target) { return truncateTo(target, fraction, offset); };
    };
    const auto statements = [](std::string text) {
        return [=](const Target& target) { return sql(target, text); };
    };
    const auto pageOf = [](const char* name) {
        return [=](const Target& target) {
            overwritePage(target.file, rootPage(target.file, name));
            return Guard();
        };
    };
    const SCMRegistry error = IS_TRANSACTION_ERROR;
    return {
        {"truncated inside the file header", truncated(0, 60), false, false, false, error, false},
        {"truncated after the first page", truncated(0, 4096 + 1), false, false, false, error, false},
        {"truncated at half", truncated(0.5, 0), false, false, false, error, false},
        {"truncated by one page", truncated(1, -4096), false, false, false, error, false},
        {"truncated by one byte", truncated(1, -1), false, false, false, error, false},
        {"schema page overwritten", [](const Target& t) { overwritePage(t.file, 1); return Guard(); },
         false, false, false, error, false},
        {"category table page overwritten", pageOf("SCM_UTILITIES"), false, true, false, error, false},
        {"checksum index page overwritten", pageOf("index:SCM_UTILITIES.Checksum"), false, true, false,
         error, false},
        {"header table missing", statements("DROP TABLE \"_vrex_registry\""), false, false, false, error,
         false},
        {"header format altered",
         statements("UPDATE \"_vrex_registry\" SET value = 'other' WHERE key = 'format'"), false, false,
         false, error, false},
        {"header version altered",
         statements("UPDATE \"_vrex_registry\" SET value = '99' WHERE key = 'formatVersion'"), false,
         false, false, error, false},
        {"record not JSON", statements(setDamagedData("not json {")), false, true, false, error, false},
        {"record of an unknown class", statements(setDamagedData("{\"class\":\"SharedCodeManager.Nope\"}")),
         false, true, false, error, false},
        {"record of another category's class",
         statements(setDamagedData("{\"class\":\"SharedCodeManager.SharedFunctionData\",\"Name\":\"\","
                                   "\"FunctionName\":\"f\",\"FileName\":\"f.c\"}")),
         false, true, true, IS_PRESENT_ERROR, false},
        {"category table missing", statements("DROP TABLE \"SCM_UTILITIES\""), false, true, false,
         IS_REGISTERED, true},
        {"category table missing in a read-only file",
         [](const Target& t) {
             runSql(t.file, "DROP TABLE \"SCM_UTILITIES\"");
             return readOnly(t.file, kReadable);
         },
         true, true, false, error, false},  // opens; the other categories stay readable
        {"read-only file", [](const Target& t) { return readOnly(t.file, kReadable); }, true, true, true,
         error, false},
        {"read-only directory", [](const Target& t) { return readOnly(t.directory, kClosedDirectory); },
         true, true, true, error, false},
        {"locked by a writer past the busy timeout",
         [](const Target& t) { return lockHolder(t.file, "BEGIN IMMEDIATE"); }, false, true, true, error,
         false},
        {"locked against readers too",
         [](const Target& t) {
             return lockHolder(t.file, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; "
                                       "UPDATE \"_vrex_registry\" SET value = value");
         },
         false, false, false, error, false},
    };
}

class HostileFile : public ::testing::TestWithParam<HostileCase> {
protected:
    void SetUp() override {
        std::string pattern = (fs::temp_directory_path() / "scm_hostile_XXXXXX").string();
        target_.directory = mkdtemp(pattern.data());
        target_.file = target_.directory + "/registry.scm";
        fs::permissions(target_.directory, kOpenDirectory);
        {
            SharedCodeManagerInterface registry(target_.file);
            for (unsigned key = 0; key < kKeys; ++key) {
                Contribution entry = contribution(key, "builder");
                ASSERT_EQ(registry.registerDataInTransaction(entry.identity.get(), entry.data.get()),
                          IS_REGISTERED);
            }
        }
        fs::permissions(target_.file, kReadable | fs::perms::owner_write | fs::perms::group_write |
                                          fs::perms::others_write);
    }
    void TearDown() override {
        std::error_code ignored;
        fs::permissions(target_.directory, kOpenDirectory, ignored);
        fs::remove_all(target_.directory, ignored);
    }

    Target target_;
};

TEST_P(HostileFile, GivesThePrescribedOutcome) {
    const HostileCase& hostile = GetParam();
    Guard guard = hostile.damage(target_);
    const std::string before = readBytes(target_.file);

    const Observation seen = observe(target_.file, hostile.unprivileged);
    guard.reset();

    ASSERT_TRUE(seen.finished) << "the observing process crashed";
    EXPECT_EQ(seen.opens, hostile.opens);
    EXPECT_EQ(seen.damagedPresent, hostile.damagedPresent);
    EXPECT_EQ(seen.intactPresent, hostile.opens);  // other categories stay readable when it opens
    EXPECT_EQ(seen.write, hostile.write);
    if (!hostile.mayChange) {
        EXPECT_TRUE(readBytes(target_.file) == before) << "the file changed";
    }
    // Unprivileged, each case is a registry this process may not write: it is read as such,
    // and nothing is left beside it.
    EXPECT_EQ(seen.refusedForWriting, hostile.unprivileged);
    if (hostile.unprivileged) {
        EXPECT_FALSE(fs::exists(target_.file + "-wal") || fs::exists(target_.file + "-shm"));
    }
}

std::string caseName(const ::testing::TestParamInfo<HostileCase>& info) {
    std::string name;
    for (const char* c = info.param.label; *c != '\0'; ++c) name += std::isalnum(*c) ? *c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileFile, ::testing::ValuesIn(hostileCases()), caseName);

// The schema check trusted the catalogue: a table or index dropped by another program stayed
// missing, and every registration of that category failed.
TEST(HostileFileRegression, TablesAndIndexesDroppedBehindTheRegistrysBackAreMadeAgain) {
    std::string pattern = (fs::temp_directory_path() / "scm_dropped_XXXXXX").string();
    const std::string directory = mkdtemp(pattern.data());
    const std::string file = directory + "/registry.scm";
    Contribution utility = contribution(kDamagedKey, "builder");
    Contribution function = contribution(kIntactKey, "builder");
    { SharedCodeManagerInterface create(file); }
    runSql(file, "DROP TABLE \"SCM_UTILITIES\"; DROP INDEX \"index:SCM_SHARED_FUNCTIONS.Checksum\"");
    {
        SharedCodeManagerInterface registry(file);
        EXPECT_EQ(registry.registerDataInTransaction(utility.identity.get(), utility.data.get()), IS_REGISTERED);
        EXPECT_EQ(registry.registerDataInTransaction(function.identity.get(), function.data.get()),
                  IS_REGISTERED);
    }
    EXPECT_GT(rootPage(file, "SCM_UTILITIES"), 0);
    EXPECT_GT(rootPage(file, "index:SCM_SHARED_FUNCTIONS.Checksum"), 0);
    fs::remove_all(directory);
}

// The state a process killed while it stamped a new registry leaves: the stamp is in the file,
// but a hot rollback journal says the file was empty before. A rollback journal header for an
// empty database with no page records: magic, record count, nonce, pages before, sector and
// page size, padded to one sector.
void writeJournalOfAnEmptyFile(const std::string& file) {
    std::string header(512, '\0');
    const unsigned char start[28] = {0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7, 0, 0, 0, 0, 0, 0,
                                     0, 1,    0,    0,    0,    0,    0,    0,    2, 0, 0, 0, 16, 0};
    header.replace(0, sizeof start, reinterpret_cast<const char*>(start), sizeof start);
    writeBytes(file + "-journal", header);
}

// A kill while a new registry was stamped left it stamped in the file but empty once SQLite rolled
// the stamp back; the next open made the tables without the stamp, and every later open refused
// the file as another program's database.
TEST(HostileFileRegression, ARegistryWhoseStampWasRolledBackIsStampedWithItsTables) {
    std::string pattern = (fs::temp_directory_path() / "scm_stamp_XXXXXX").string();
    const std::string directory = mkdtemp(pattern.data());
    const std::string file = directory + "/registry.scm";
    runSql(file, "PRAGMA page_size = 4096; PRAGMA application_id = " +
                     std::to_string(vrex::internal::RegistryFileProbe::kApplicationId));
    ASSERT_EQ(fs::file_size(file), 4096u);
    writeJournalOfAnEmptyFile(file);

    for (int open = 0; open < 2; ++open) {
        SharedCodeManagerInterface registry(file);
        EXPECT_TRUE(registry.getDataAdapter()->doesExist()) << "open " << open;
    }
    const RegistryContents contents = checkRegistry(file);
    EXPECT_TRUE(contents.sound()) << (contents.problems.empty() ? "" : contents.problems[0]);
    fs::remove_all(directory);
}

}  // namespace
