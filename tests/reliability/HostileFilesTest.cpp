// Registries that were damaged, replaced by something else, are read-only, or are locked by
// another process: each gives the prescribed outcome (refused open, absent entry,
// IS_TRANSACTION_ERROR), with no crash, and nothing in the registry's directory changes unless a
// write was asked for and allowed. Every case is observed in a child process, which drops its
// privileges where permissions must bind.
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cstring>
#include <functional>
#include <random>

#include "reliability/Workload.hpp"
#include "support/DirectSql.hpp"
#include "vrex/VrexTestSupport.hpp"
#include "vrex/internal/sqlite/RegistryFileProbe.hpp"

namespace {

using namespace SCM;
using namespace reliability;
using namespace vrex_test;
using scm_test::execSql;

constexpr unsigned kKeys = 300;      // 100 entries in each category
constexpr unsigned kDamagedKey = 0;  // a utility: the damage aims at its category
constexpr unsigned kIntactKey = 1;   // in SCM_OTHER
constexpr int kNobody = 65534;

// Something a case keeps while the registry is observed (a connection holding a lock).
using Guard = std::shared_ptr<sqlite3>;

// The registry under test, in a directory that an unprivileged process may enter.
struct Target {
    std::string directory;
    std::string file;
};
using Damage = std::function<Guard(const Target&)>;

// Overwrites the page of the schema object `name` (the first page, after its 100-byte file header,
// for null) with random bytes.
Guard overwritePage(const Target& target, const char* name) {
    sqlite3* db = nullptr;
    sqlite3_open(target.file.c_str(), &db);
    sqlite3_stmt* query = nullptr;
    sqlite3_prepare_v2(db, "SELECT rootpage FROM sqlite_master WHERE name = ?1", -1, &query, nullptr);
    sqlite3_bind_text(query, 1, name == nullptr ? "" : name, -1, SQLITE_TRANSIENT);
    const std::size_t page = name == nullptr ? 1 : sqlite3_step(query) == SQLITE_ROW ? sqlite3_column_int(query, 0) : 0;
    sqlite3_finalize(query);
    sqlite3_close(db);
    std::string bytes = readBytes(target.file);
    EXPECT_TRUE(page > 0 && page * 4096 <= bytes.size()) << name;
    std::mt19937 random(static_cast<unsigned>(page));
    for (std::size_t i = (page - 1) * 4096 + (page == 1 ? 100 : 0); i < page * 4096; ++i) bytes[i] = char(random());
    writeBytes(target.file, bytes);
    return nullptr;
}

// A connection of this process that runs `sql` and keeps its lock until the guard is dropped;
// the observing child is another process, so the lock binds it.
Guard lockHolder(const Target& target, const char* sql) {
    sqlite3* db = nullptr;
    sqlite3_open(target.file.c_str(), &db);
    EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
    return Guard(db, sqlite3_close);
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
    seen.damagedPresent = std::unique_ptr<SCMData>(registry.retrieveData(damaged.identity.get())) != nullptr;
    seen.intactPresent = std::unique_ptr<SCMData>(registry.retrieveData(intact.identity.get())) != nullptr;
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
    Damage damage;
    bool unprivileged = false;
    bool opens = false;
    bool damagedPresent = false;
    SCMRegistry write = IS_TRANSACTION_ERROR;
    const char* openError = "";  // "" when a writable open succeeds
    bool mayChange = false;      // the write is allowed: the registry must then check sound
};

std::ostream& operator<<(std::ostream& out, const HostileCase& hostile) { return out << hostile.label; }

// A case whose registry does not open at all: nothing is found and nothing written.
HostileCase refused(const char* label, Damage damage, const char* openError) {
    return {label, std::move(damage), false, false, false, IS_TRANSACTION_ERROR, openError};
}

// A case whose registry opens: found as `damagedPresent` says, written as `write` says.
HostileCase opening(const char* label, Damage damage, bool damagedPresent, SCMRegistry write = IS_TRANSACTION_ERROR) {
    return {label, std::move(damage), false, true, damagedPresent, write};
}

Damage truncated(double fraction, long offset) {
    return [=](const Target& t) {
        const std::string bytes = readBytes(t.file);
        writeBytes(t.file, bytes.substr(0, static_cast<std::size_t>(bytes.size() * fraction + offset)));
        return nullptr;
    };
}

Damage statements(const std::string& sql) {
    return [=](const Target& t) {
        execSql(t.file, sql);
        return nullptr;
    };
}

Damage page(const char* name) {
    return [=](const Target& t) { return overwritePage(t, name); };
}

Damage replacedBy(const std::function<void(const std::string&)>& make) {
    return [=](const Target& t) {
        fs::remove(t.file);
        make(t.file);
        return nullptr;
    };
}

// Read-only for everyone: the file (after `sql`), or the directory.
Damage readOnly(bool directory, const char* sql = "") {
    return [=](const Target& t) {
        execSql(t.file, sql);
        const fs::perms readable = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
        fs::permissions(directory ? t.directory : t.file, directory ? readable | fs::perms::owner_exec |
                                                                          fs::perms::group_exec | fs::perms::others_exec
                                                                    : readable);
        return nullptr;
    };
}

std::string setDamagedData(const std::string& text) {
    return "UPDATE \"SCM_UTILITIES\" SET \"Data\" = '" + text + "' WHERE \"Checksum\" = '" +
           contribution(kDamagedKey, "builder").identity->getChecksum() + "'";
}

HostileCase unprivileged(HostileCase hostile) {
    hostile.unprivileged = true;
    hostile.openError = "vrex:open:readOnly";
    return hostile;
}

std::vector<HostileCase> hostileCases() {
    HostileCase remade = opening("category table and another category's index missing",
                                 statements("DROP TABLE \"SCM_UTILITIES\"; DROP INDEX \"index:SCM_OTHER.Checksum\""),
                                 false, IS_REGISTERED);
    remade.mayChange = true;  // dropped by another program: made again at the next open
    return {
        refused("truncated inside the file header", truncated(0, 60), "vrex:open:truncated"),
        refused("truncated by one byte", truncated(1, -1), "vrex:open:truncated"),
        refused("truncated by one page", truncated(1, -4096), "vrex:open:truncated"),
        refused("schema page overwritten", page(nullptr), "vrex:open:sqliteError"),
        refused("header table missing", statements("DROP TABLE \"_vrex_registry\""), "vrex:open:notARegistry"),
        refused("header format altered",
                statements("UPDATE \"_vrex_registry\" SET value = 'other' WHERE key = 'format'"),
                "vrex:open:notARegistry"),
        refused("header version altered",
                statements("UPDATE \"_vrex_registry\" SET value = '99' WHERE key = 'formatVersion'"),
                "vrex:open:unsupportedFormat"),
        refused("a text file", replacedBy([](const std::string& f) { writeBytes(f, "Checksum,Name\nabc,rt_foo\n"); }),
                "vrex:open:notARegistry"),
        refused("another program's database in WAL mode",
                replacedBy([](const std::string& f) { execSql(f, "PRAGMA journal_mode = WAL; CREATE TABLE t (x);"); }),
                "vrex:open:notARegistry"),
        refused("a directory", replacedBy([](const std::string& f) { fs::create_directory(f); }),
                "vrex:open:isDirectory"),
        refused("locked against readers too",
                [](const Target& t) {
                    return lockHolder(t, "PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; "
                                         "UPDATE \"_vrex_registry\" SET value = value");
                },
                "vrex:open:sqliteError"),
        opening("category table page overwritten", page("SCM_UTILITIES"), false),
        opening("checksum index page overwritten", page("index:SCM_UTILITIES.Checksum"), false),
        opening("record not JSON", statements(setDamagedData("not json {")), false),
        opening("record of an unknown class", statements(setDamagedData("{\"class\":\"SharedCodeManager.Nope\"}")),
                false),
        opening("record of another category's class",
                statements(setDamagedData("{\"class\":\"SharedCodeManager.SharedFunctionData\",\"Name\":\"\","
                                          "\"FunctionName\":\"f\",\"FileName\":\"f.c\"}")),
                true, IS_PRESENT_ERROR),
        remade,
        // Opens; the other categories stay readable.
        unprivileged(opening("category table missing in a read-only file",
                             readOnly(false, "DROP TABLE \"SCM_UTILITIES\""), false)),
        unprivileged(opening("read-only file", readOnly(false), true)),
        unprivileged(opening("read-only directory", readOnly(true), true)),
        opening("locked by a writer past the busy timeout",
                [](const Target& t) { return lockHolder(t, "BEGIN IMMEDIATE"); }, true),
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

    TempDir dir_;
    Target target_{dir_.path().string(), dir_.file("registry.scm")};
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
        EXPECT_TRUE(contents.problems.empty()) << contents.problems[0];
    } else {
        EXPECT_TRUE(snapshot(target_) == before) << "the registry or its directory changed";
    }
}

INSTANTIATE_TEST_SUITE_P(Cases, HostileFile, ::testing::ValuesIn(hostileCases()), LabelName());

// A kill while a new registry was stamped left it stamped in the file but empty once SQLite rolled
// the stamp back; the next open made the tables without the stamp, and every later open refused
// the file as another program's database. The state is built by hand: the stamp in the file, and
// a hot rollback journal of an empty database (magic, record count, nonce, pages before, sector
// and page size, padded to one sector).
TEST(HostileFileRegression, ARegistryWhoseStampWasRolledBackIsStampedWithItsTables) {
    TempDir dir;
    const std::string file = dir.file("registry.scm");
    execSql(file, "PRAGMA page_size = 4096; PRAGMA application_id = " +
                      std::to_string(vrex::internal::RegistryFileProbe::kApplicationId));
    ASSERT_EQ(fs::file_size(file), 4096u);
    const unsigned char start[28] = {0xd9, 0xd5, 0x05, 0xf9, 0x20, 0xa1, 0x63, 0xd7, 0, 0, 0, 0, 0, 0,
                                     0,    1,    0,    0,    0,    0,    0,    0,    2, 0, 0, 0, 16, 0};
    writeBytes(file + "-journal", std::string(reinterpret_cast<const char*>(start), sizeof start) +
                                      std::string(512 - sizeof start, '\0'));

    for (int open = 0; open < 2; ++open) {
        EXPECT_TRUE(SharedCodeManagerInterface(file).getDataAdapter()->doesExist()) << "open " << open;
    }
    EXPECT_EQ(compareRecords(checkRegistry(file), {}, ""), 0u) << "an empty registry, sound";
}

}  // namespace
