// Registries that were damaged, replaced by something else, are read-only, or are locked by
// another process: each gives the prescribed outcome (refused open, absent entry,
// IS_TRANSACTION_ERROR), with no crash, and nothing in the registry's directory changes unless a
// write was asked for and allowed. Every case is observed in a child process, which drops its
// privileges where permissions must bind.
#include <gtest/gtest.h>

#include <poll.h>
#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cctype>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <functional>
#include <map>
#include <memory>
#include <random>
#include <sstream>

#include "reliability/Workload.hpp"
#include "support/DirectSql.hpp"
#include "support/TempDir.hpp"
#include "vrex/DataModelRepository.hpp"
#include "vrex/Utf16.hpp"
#include "vrex/internal/sqlite/RegistryFileProbe.hpp"

namespace {

using namespace SCM;
using namespace reliability;
using scm_test::execSql;
namespace fs = std::filesystem;

constexpr unsigned kKeys = 300;      // 50 entries in each category
constexpr unsigned kDamagedKey = 0;  // a utility: the damage aims at its category
constexpr unsigned kIntactKey = 1;   // a shared function
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
    ASSERT_LE(page * 4096u, bytes.size());
    for (std::size_t i = (page - 1) * 4096 + (page == 1 ? 100 : 0); i < page * 4096u; ++i) {
        bytes[i] = static_cast<char>(random());
    }
    writeBytes(file, bytes);
}

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

// What a registration run sees on the registry. Plain data: it comes back through a pipe.
struct Observation {
    bool finished = false;
    bool opens = false;
    bool damagedPresent = false;   // retrieveData of the key in the damaged category
    bool intactPresent = false;    // retrieveData of a key in another category
    SCMRegistry write = IS_EMPTY;  // registerDataInTransaction of the damaged key
    char openError[48] = {};       // the identifier an open that requires writing is refused with
    bool errorNamesFile = false;   // and whether its message names the file
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
    if (!diagnostics.empty()) {
        std::strncpy(seen.openError, diagnostics.records()[0].identifier.c_str(), sizeof seen.openError - 1);
        seen.errorNamesFile = diagnostics.records()[0].message.find(file) != std::string::npos;
    }
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

// The registry under test, in a directory that an unprivileged process may enter.
struct Target {
    std::string directory;
    std::string file;
};

struct HostileCase {
    const char* label;
    std::function<Guard(const Target&)> damage;
    bool unprivileged;
    bool opens;
    bool damagedPresent;
    SCMRegistry write;
    const char* openError;  // "" when a writable open succeeds
    bool mayChange;         // the write is allowed: the registry must then check sound
};

std::ostream& operator<<(std::ostream& out, const HostileCase& hostile) { return out << hostile.label; }

const fs::perms kReadable = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
const fs::perms kClosedDirectory = kReadable | fs::perms::owner_exec | fs::perms::group_exec |
                                   fs::perms::others_exec;

// A case whose registry does not open at all: nothing is found and nothing written.
HostileCase refused(const char* label, std::function<Guard(const Target&)> damage, const char* openError) {
    return {label, std::move(damage), false, false, false, IS_TRANSACTION_ERROR, openError, false};
}

std::function<Guard(const Target&)> truncated(double fraction, long offset) {
    return [=](const Target& t) {
        const std::string bytes = readBytes(t.file);
        writeBytes(t.file, bytes.substr(0, static_cast<std::size_t>(bytes.size() * fraction + offset)));
        return Guard();
    };
}

std::function<Guard(const Target&)> statements(const std::string& sql) {
    return [=](const Target& t) {
        execSql(t.file, sql);
        return Guard();
    };
}

std::function<Guard(const Target&)> pageOf(const char* name) {
    return [=](const Target& t) {
        overwritePage(t.file, name == nullptr ? 1 : rootPage(t.file, name));
        return Guard();
    };
}

std::function<Guard(const Target&)> permissions(bool ofDirectory, const char* sql = nullptr) {
    return [=](const Target& t) {
        if (sql != nullptr) execSql(t.file, sql);
        fs::permissions(ofDirectory ? t.directory : t.file, ofDirectory ? kClosedDirectory : kReadable);
        return Guard();
    };
}

std::string setDamagedData(const std::string& text) {
    return "UPDATE \"SCM_UTILITIES\" SET \"Data\" = '" + text + "' WHERE \"Checksum\" = '" +
           contribution(kDamagedKey, "builder").identity->getChecksum() + "'";
}

std::vector<HostileCase> hostileCases() {
    const SCMRegistry error = IS_TRANSACTION_ERROR;
    return {
        refused("truncated inside the file header", truncated(0, 60), "vrex:open:truncated"),
        refused("truncated by one byte", truncated(1, -1), "vrex:open:truncated"),
        refused("truncated by one page", truncated(1, -4096), "vrex:open:truncated"),
        refused("schema page overwritten", pageOf(nullptr), "vrex:open:sqliteError"),
        refused("header table missing", statements("DROP TABLE \"_vrex_registry\""), "vrex:open:notARegistry"),
        refused("header format altered",
                statements("UPDATE \"_vrex_registry\" SET value = 'other' WHERE key = 'format'"),
                "vrex:open:notARegistry"),
        refused("header version altered",
                statements("UPDATE \"_vrex_registry\" SET value = '99' WHERE key = 'formatVersion'"),
                "vrex:open:unsupportedFormat"),
        refused("a text file",
                [](const Target& t) {
                    writeBytes(t.file, "Checksum,Name\nabc,rt_foo\n");
                    return Guard();
                },
                "vrex:open:notARegistry"),
        refused("another program's database in WAL mode",
                [](const Target& t) {
                    fs::remove(t.file);
                    execSql(t.file, "PRAGMA journal_mode = WAL; CREATE TABLE t (x); INSERT INTO t VALUES (1);");
                    return Guard();
                },
                "vrex:open:notARegistry"),
        refused("a directory",
                [](const Target& t) {
                    fs::remove(t.file);
                    fs::create_directory(t.file);
                    return Guard();
                },
                "vrex:open:isDirectory"),
        refused("locked against readers too",
                [](const Target& t) {
                    return lockHolder(t.file, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; "
                                              "UPDATE \"_vrex_registry\" SET value = value");
                },
                "vrex:open:sqliteError"),
        {"category table page overwritten", pageOf("SCM_UTILITIES"), false, true, false, error, "", false},
        {"checksum index page overwritten", pageOf("index:SCM_UTILITIES.Checksum"), false, true, false, error, "",
         false},
        {"record not JSON", statements(setDamagedData("not json {")), false, true, false, error, "", false},
        {"record of an unknown class", statements(setDamagedData("{\"class\":\"SharedCodeManager.Nope\"}")), false,
         true, false, error, "", false},
        {"record of another category's class",
         statements(setDamagedData("{\"class\":\"SharedCodeManager.SharedFunctionData\",\"Name\":\"\","
                                   "\"FunctionName\":\"f\",\"FileName\":\"f.c\"}")),
         false, true, true, IS_PRESENT_ERROR, "", false},
        // Dropped by another program: made again at the next open, so the category takes entries.
        {"category table and another category's index missing",
         statements("DROP TABLE \"SCM_UTILITIES\"; DROP INDEX \"index:SCM_SHARED_FUNCTIONS.Checksum\""), false,
         true, false, IS_REGISTERED, "", true},
        // Opens; the other categories stay readable.
        {"category table missing in a read-only file", permissions(false, "DROP TABLE \"SCM_UTILITIES\""), true,
         true, false, error, "vrex:open:readOnly", false},
        {"read-only file", permissions(false), true, true, true, error, "vrex:open:readOnly", false},
        {"read-only directory", permissions(true), true, true, true, error, "vrex:open:readOnly", false},
        {"locked by a writer past the busy timeout",
         [](const Target& t) { return lockHolder(t.file, "BEGIN IMMEDIATE"); }, false, true, true, error, "",
         false},
    };
}

// The registry file's bytes and the names beside it.
std::string snapshot(const Target& target) {
    std::string names;
    for (const auto& entry : fs::directory_iterator(target.directory)) names += entry.path().filename().string() + " ";
    return names + "\n" + readBytes(target.file);
}

class HostileFile : public ::testing::TestWithParam<HostileCase> {
protected:
    void SetUp() override {
        target_ = {dir_.path().string(), dir_.file("registry.scm")};
        fs::permissions(target_.directory, fs::perms::all);
        {
            SharedCodeManagerInterface registry(target_.file);
            for (unsigned key = 0; key < kKeys; ++key) {
                Contribution entry = contribution(key, "builder");
                ASSERT_EQ(registry.registerDataInTransaction(entry.identity.get(), entry.data.get()), IS_REGISTERED);
            }
        }
        // Writable by anyone: in the read-only directory case only the directory refuses writes.
        fs::permissions(target_.file, fs::perms::all & ~(fs::perms::owner_exec | fs::perms::group_exec |
                                                         fs::perms::others_exec));
    }

    scm_test::TempDir dir_;
    Target target_;
};

TEST_P(HostileFile, GivesThePrescribedOutcome) {
    const HostileCase& hostile = GetParam();
    Guard guard = hostile.damage(target_);
    const std::string before = snapshot(target_);

    const Observation seen = observe(target_.file, hostile.unprivileged);
    ASSERT_TRUE(seen.finished) << "the observing process crashed";
    EXPECT_EQ(seen.opens, hostile.opens);
    EXPECT_EQ(seen.damagedPresent, hostile.damagedPresent);
    EXPECT_EQ(seen.intactPresent, hostile.opens);  // other categories stay readable when it opens
    EXPECT_EQ(seen.write, hostile.write);
    EXPECT_STREQ(seen.openError, hostile.openError);
    EXPECT_EQ(seen.errorNamesFile, *hostile.openError != '\0');
    if (hostile.mayChange) {
        const RegistryContents contents = checkRegistry(target_.file);
        EXPECT_TRUE(contents.sound()) << (contents.problems.empty() ? "" : contents.problems[0]);
    } else {
        EXPECT_TRUE(snapshot(target_) == before) << "the registry or its directory changed";
    }
}

std::string caseName(const ::testing::TestParamInfo<HostileCase>& info) {
    std::string name;
    for (const char* c = info.param.label; *c != '\0'; ++c) name += std::isalnum(*c) ? *c : '_';
    return name;
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileFile, ::testing::ValuesIn(hostileCases()), caseName);

// A kill while a new registry was stamped left it stamped in the file but empty once SQLite rolled
// the stamp back; the next open made the tables without the stamp, and every later open refused
// the file as another program's database. The state is built by hand: the stamp in the file, and
// a hot rollback journal of an empty database (magic, record count, nonce, pages before, sector
// and page size, padded to one sector).
TEST(HostileFileRegression, ARegistryWhoseStampWasRolledBackIsStampedWithItsTables) {
    scm_test::TempDir dir;
    const std::string file = dir.file("registry.scm");
    execSql(file, "PRAGMA page_size = 4096; PRAGMA application_id = " +
                      std::to_string(vrex::internal::RegistryFileProbe::kApplicationId));
    ASSERT_EQ(fs::file_size(file), 4096u);
    const unsigned char start[28] = {0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7, 0, 0, 0, 0, 0, 0,
                                     0,    1,    0,    0,    0,    0,    0,    0,    2, 0, 0, 0, 16, 0};
    writeBytes(file + "-journal", std::string(reinterpret_cast<const char*>(start), sizeof start) +
                                      std::string(512 - sizeof start, '\0'));

    for (int open = 0; open < 2; ++open) {
        SharedCodeManagerInterface registry(file);
        EXPECT_TRUE(registry.getDataAdapter()->doesExist()) << "open " << open;
    }
    const RegistryContents contents = checkRegistry(file);
    EXPECT_TRUE(contents.sound()) << (contents.problems.empty() ? "" : contents.problems[0]);
}

}  // namespace
