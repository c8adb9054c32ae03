// Registries that were damaged, replaced by something else, are read-only, or are locked by
// another process: each gives the prescribed outcome (refused open, absent entry,
// IS_TRANSACTION_ERROR), with no crash, and nothing in the registry's directory changes unless a
// write was asked for and allowed. Every case is observed in a child process, which drops its
// privileges where permissions must bind.
#include <gtest/gtest.h>

#include <sqlite3.h>
#include <sys/wait.h>
#include <unistd.h>

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

// Something a case keeps while the registry is observed (a connection holding a lock).
using Guard = std::shared_ptr<sqlite3>;

// Damages the registry file, in a directory that an unprivileged process may enter.
using Damage = std::function<Guard(const std::string& file)>;

// Overwrites the page of the schema object `name` (the first page, after its 100-byte file header,
// for null) with random bytes.
Damage page(const char* name) {
    return [=](const std::string& file) {
        sqlite3* db = nullptr;
        sqlite3_open(file.c_str(), &db);
        sqlite3_stmt* query = nullptr;
        sqlite3_prepare_v2(db, "SELECT rootpage FROM sqlite_master WHERE name = ?1", -1, &query, nullptr);
        sqlite3_bind_text(query, 1, name == nullptr ? "" : name, -1, SQLITE_TRANSIENT);
        const std::size_t number = name == nullptr ? 1 : sqlite3_step(query) == SQLITE_ROW ? sqlite3_column_int(query, 0) : 0;
        sqlite3_finalize(query);
        sqlite3_close(db);
        std::string bytes = readBytes(file);
        EXPECT_TRUE(number > 0 && number * 4096 <= bytes.size()) << (name ? name : "the schema");
        std::mt19937 random(static_cast<unsigned>(number));
        for (std::size_t i = (number - 1) * 4096 + (number == 1 ? 100 : 0); i < number * 4096; ++i) bytes[i] = char(random());
        writeBytes(file, bytes);
        return Guard();
    };
}

// A connection of this process that runs `sql` and keeps its lock until the guard is dropped;
// the observing child is another process, so the lock binds it.
Damage locked(const char* sql) {
    return [=](const std::string& file) {
        sqlite3* db = nullptr;
        sqlite3_open(file.c_str(), &db);
        EXPECT_EQ(sqlite3_exec(db, sql, nullptr, nullptr, nullptr), SQLITE_OK) << sql;
        return Guard(db, sqlite3_close);
    };
}

// What a registration run sees on the registry, in one line: whether it opens, finds the entry in
// the damaged category and one in another, what registering the damaged key answers, and the
// identifier an open that requires writing is refused with, when it is, and names the file.
std::string observation(bool opens, bool damagedPresent, bool intactPresent, SCMRegistry write,
                        const std::string& openError) {
    return "opens " + std::to_string(opens) + ", damaged entry " + std::to_string(damagedPresent) + ", intact entry " +
           std::to_string(intactPresent) + ", registration " + std::to_string(write) + ", writable open " + openError;
}

std::string observeHere(const std::string& file) {
    SharedCodeManagerInterface registry(file);
    Contribution damaged = contribution(kDamagedKey, "visitor");
    const bool opens = registry.getDataAdapter()->doesExist();
    const bool damagedPresent = std::unique_ptr<SCMData>(registry.retrieveData(damaged.identity.get())) != nullptr;
    const bool intactPresent = std::unique_ptr<SCMData>(registry.retrieveData(contribution(kIntactKey, "").identity.get())) != nullptr;
    const SCMRegistry write = registry.registerDataInTransaction(damaged.identity.get(), damaged.data.get());
    vrex::DataModelRepository::Options writable = vrex::DataModelRepository::defaultOptions();
    writable.requireWrite = true;
    vrex::DataModelRepository repository;
    tvdiag::util::diagnostics diagnostics;
    repository.open(vrex::toUtf16(file), vrex::toUtf16(getMetaModelFile()), writable, diagnostics);
    std::string openError;
    for (const auto& record : diagnostics.records()) {
        openError += record.identifier + (record.message.find(file) != std::string::npos ? " naming the file" : "");
    }
    return observation(opens, damagedPresent, intactPresent, write, openError);
}

// Observes in a child process (as nobody, 65534, when `unprivileged` and this process is the superuser),
// with a short busy timeout. A crash of the child reads as "crashed".
std::string observe(const std::string& file, bool unprivileged) {
    int channel[2];
    if (pipe(channel) != 0) return "no pipe";
    const pid_t pid = fork();
    if (pid == 0) {
        if (unprivileged && geteuid() == 0 && (setgid(65534) != 0 || setuid(65534) != 0)) _exit(2);
        setenv("SCM_BUSY_TIMEOUT_MS", "300", 1);
        const std::string seen = observeHere(file);
        _exit(write(channel[1], seen.data(), seen.size()) == static_cast<ssize_t>(seen.size()) ? 0 : 1);
    }
    close(channel[1]);
    char seen[512];
    const ssize_t length = read(channel[0], seen, sizeof seen);
    close(channel[0]);
    waitpid(pid, nullptr, 0);
    return length > 0 ? std::string(seen, length) : "crashed";
}

// What a registration run is to see (see observation) on a registry that is refused, or that opens.
std::string refusedWith(const char* openError) {
    return observation(false, false, false, IS_TRANSACTION_ERROR, openError + std::string(" naming the file"));
}
std::string opensWith(bool damagedPresent, SCMRegistry write = IS_TRANSACTION_ERROR, const char* openError = nullptr) {
    return observation(true, damagedPresent, true, write, openError ? openError + std::string(" naming the file") : "");
}

struct HostileCase {
    const char* label;
    Damage damage;
    std::string expected;       // the observation
    bool unprivileged = false;  // observed as nobody, where permissions must bind
    bool mayChange = false;     // the write is allowed: the registry must then check sound
};

std::ostream& operator<<(std::ostream& out, const HostileCase& hostile) { return out << hostile.label; }

Damage truncated(double fraction, long offset) {
    return [=](const std::string& file) {
        const std::string bytes = readBytes(file);
        writeBytes(file, bytes.substr(0, static_cast<std::size_t>(bytes.size() * fraction + offset)));
        return nullptr;
    };
}

Damage statements(const std::string& sql) {
    return [=](const std::string& file) {
        execSql(file, sql);
        return nullptr;
    };
}

Damage replacedBy(const std::function<void(const std::string&)>& make) {
    return [=](const std::string& file) {
        fs::remove(file);
        make(file);
        return nullptr;
    };
}

// Read-only for everyone: the file (after `sql`), or the directory.
Damage readOnly(bool directory, const char* sql = "") {
    return [=](const std::string& file) {
        execSql(file, sql);
        const fs::perms readable = fs::perms::owner_read | fs::perms::group_read | fs::perms::others_read;
        const fs::perms enterable = fs::perms::owner_exec | fs::perms::group_exec | fs::perms::others_exec;
        fs::permissions(directory ? fs::path(file).parent_path() : fs::path(file), readable | (directory ? enterable : fs::perms::none));
        return nullptr;
    };
}

std::string setDamagedData(const std::string& text) {
    return "UPDATE \"SCM_UTILITIES\" SET \"Data\" = '" + text + "' WHERE \"Checksum\" = '" +
           contribution(kDamagedKey, "builder").identity->getChecksum() + "'";
}

std::vector<HostileCase> hostileCases() {
    const std::string readOnlyOpen = opensWith(true, IS_TRANSACTION_ERROR, "vrex:open:readOnly");
    return {
        {"truncated inside the file header", truncated(0, 60), refusedWith("vrex:open:truncated")},
        {"truncated by one byte", truncated(1, -1), refusedWith("vrex:open:truncated")},
        {"truncated by one page", truncated(1, -4096), refusedWith("vrex:open:truncated")},
        {"schema page overwritten", page(nullptr), refusedWith("vrex:open:sqliteError")},
        {"header table missing", statements("DROP TABLE \"_vrex_registry\""), refusedWith("vrex:open:notARegistry")},
        {"header format altered", statements("UPDATE \"_vrex_registry\" SET value = 'other' WHERE key = 'format'"),
         refusedWith("vrex:open:notARegistry")},
        {"header version altered", statements("UPDATE \"_vrex_registry\" SET value = '99' WHERE key = 'formatVersion'"),
         refusedWith("vrex:open:unsupportedFormat")},
        {"a text file", replacedBy([](const std::string& f) { writeBytes(f, "Checksum,Name\nabc,rt_foo\n"); }),
         refusedWith("vrex:open:notARegistry")},
        {"another program's database in WAL mode",
         replacedBy([](const std::string& f) { execSql(f, "PRAGMA journal_mode = WAL; CREATE TABLE t (x);"); }),
         refusedWith("vrex:open:notARegistry")},
        {"a directory", replacedBy([](const std::string& f) { fs::create_directory(f); }),
         refusedWith("vrex:open:isDirectory")},
        {"locked against readers too",
         locked("PRAGMA locking_mode = EXCLUSIVE; BEGIN EXCLUSIVE; UPDATE \"_vrex_registry\" SET value = value"),
         refusedWith("vrex:open:sqliteError")},
        {"category table page overwritten", page("SCM_UTILITIES"), opensWith(false)},
        {"record not JSON", statements(setDamagedData("not json {")), opensWith(false)},
        {"record of another category's class",
         statements(setDamagedData("{\"class\":\"SharedCodeManager.SharedFunctionData\",\"Name\":\"\","
                                   "\"FunctionName\":\"f\",\"FileName\":\"f.c\"}")),
         opensWith(true, IS_PRESENT_ERROR)},
        // Dropped by another program: made again at the next open.
        {"category table and another category's index missing",
         statements("DROP TABLE \"SCM_UTILITIES\"; DROP INDEX \"index:SCM_OTHER.Checksum\""),
         opensWith(false, IS_REGISTERED), false, true},
        {"category table missing in a read-only file", readOnly(false, "DROP TABLE \"SCM_UTILITIES\""),
         opensWith(false, IS_TRANSACTION_ERROR, "vrex:open:readOnly"), true},
        {"read-only file", readOnly(false), readOnlyOpen, true},
        {"read-only directory", readOnly(true), readOnlyOpen, true},
        {"locked by a writer past the busy timeout", locked("BEGIN IMMEDIATE"), opensWith(true)},
    };
}

// The registry file's bytes and the names beside it.
std::string snapshot(const std::string& file) {
    std::string names;
    for (const auto& entry : fs::directory_iterator(fs::path(file).parent_path())) names += entry.path().filename().string() + " ";
    return names + "\n" + readBytes(file);
}

class HostileFile : public ::testing::TestWithParam<HostileCase> {
protected:
    void SetUp() override {
        fs::permissions(dir_.path(), fs::perms::all);
        {
            SharedCodeManagerInterface registry(file_);
            for (unsigned key = 0; key < kKeys; ++key) {
                Contribution entry = contribution(key, "builder");
                ASSERT_EQ(registry.registerDataInTransaction(entry.identity.get(), entry.data.get()), IS_REGISTERED);
            }
        }
        // Writable by anyone: in the read-only directory case only the directory refuses writes.
        fs::permissions(file_, fs::perms(0666));
    }

    TempDir dir_;
    const std::string file_ = dir_.file("registry.scm");
};

TEST_P(HostileFile, GivesThePrescribedOutcome) {
    const HostileCase& hostile = GetParam();
    Guard guard = hostile.damage(file_);
    const std::string before = snapshot(file_);

    EXPECT_EQ(observe(file_, hostile.unprivileged), hostile.expected);
    if (hostile.mayChange) {
        const RegistryContents contents = checkRegistry(file_);
        EXPECT_TRUE(contents.problems.empty()) << contents.problems[0];
    } else {
        EXPECT_TRUE(snapshot(file_) == before) << "the registry or its directory changed";
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
