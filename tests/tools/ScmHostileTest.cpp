// The tool as a hostile or unlucky user meets it: every failure reaches the user with a message
// and exit 2, and a run is kept whole or, unless --keep-going says otherwise, not at all.
#include <gtest/gtest.h>
#include <sqlite3.h>
#include <signal.h>
#include <sys/stat.h>

#include <algorithm>
#include <filesystem>
#include <functional>

#include "SCMBasicUtilityIdentity.hpp"
#include "ScmToolRunner.hpp"
#include "support/DirectSql.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace scm_test;

const char* const kRegistry = "{registry}";

std::string utilityLine(const std::string& name) {
    return "{\"identity\": {\"class\": \"BasicUtilityIdentity\", \"UtilityIdentifier\": \"" + name +
           "\"}, \"data\": {\"class\": \"BasicUtilityData\", \"Name\": \"" + name +
           "\", \"Identifier\": \"" + name + "\"}}\n";
}

class ScmHostile;

struct HostileCase {
    const char* label;
    std::function<void(ScmHostile&)> prepare;  // may be null
    std::vector<std::string> arguments;        // kRegistry stands for the registry
    RunSetup setup;
    int exitCode;
    std::string said;     // in standard output or error
    int entriesAfter;     // entries `scm list` finds afterwards; -1: not looked at
    bool sqliteOnly = false;
    std::function<void(ScmHostile&, const ToolRun&)> verify = nullptr;  // further checks
};

class ScmHostile : public ::testing::TestWithParam<HostileCase> {
public:
    std::string file(const std::string& name) const { return dir_.file(name); }
    const std::string& registry() const { return registry_.location(); }
    ToolRun scm(std::vector<std::string> arguments, const RunSetup& setup = RunSetup()) {
        for (std::string& argument : arguments) {
            if (argument == kRegistry) argument = registry();
        }
        return runScm(arguments, dir_.path().string(), setup);
    }
    void registerUtilities(int count) {
        std::string lines;
        for (int i = 0; i < count; ++i) lines += utilityLine("rt_u" + std::to_string(i));
        vrex_test::writeBytes(file("utilities.jsonl"), lines);
        ASSERT_EQ(scm({"register", kRegistry, "utilities.jsonl"}).exitCode, 0);
    }
    // Fills one leaf page of the utilities' table with bytes that are no page: a disk error or
    // a bad copy.
    void damageALeafPage() {
        registerUtilities(3000);
        sqlite3* db = nullptr;
        ASSERT_EQ(sqlite3_open(registry().c_str(), &db), SQLITE_OK);
        sqlite3_stmt* query = nullptr;
        sqlite3_prepare_v2(db,
                           "SELECT pageno FROM dbstat WHERE name = 'SCM_UTILITIES' AND "
                           "pagetype = 'leaf' LIMIT 1 OFFSET 3",
                           -1, &query, nullptr);
        ASSERT_EQ(sqlite3_step(query), SQLITE_ROW);
        const long page = sqlite3_column_int64(query, 0);
        sqlite3_finalize(query);
        sqlite3_close(db);
        std::string bytes = vrex_test::readBytes(registry());
        bytes.replace((page - 1) * 4096, 4096, std::string(4096, '\xff'));
        vrex_test::writeBytes(registry(), bytes);
    }
    // The registry and its directory readable by everybody and writable by nobody.
    void makeReadOnly() {
        registerUtilities(2);
        chmod(registry().c_str(), 0444);
        chmod(dir_.path().c_str(), 0555);
    }
    // Another process holds the registry's write lock until the test ends.
    void holdWriteLock() {
        registerUtilities(1);
        int ready[2];
        ASSERT_EQ(pipe(ready), 0);
        holder_ = fork();
        if (holder_ == 0) {
            sqlite3* db = nullptr;
            sqlite3_open(registry().c_str(), &db);
            const char locked = sqlite3_exec(db, "BEGIN IMMEDIATE", nullptr, nullptr, nullptr) == 0;
            if (write(ready[1], &locked, 1) != 1) _exit(1);
            sleep(30);  // bounded: the test ends it long before
            _exit(0);
        }
        char locked = 0;
        ASSERT_EQ(read(ready[0], &locked, 1), 1);
        ASSERT_EQ(locked, 1);
        close(ready[0]);
        close(ready[1]);
    }
    void TearDown() override {
        if (holder_ > 0) {
            kill(holder_, SIGKILL);
            waitpid(holder_, nullptr, 0);
        }
    }
    int listedEntries() {
        const ToolRun run = scm({"list", kRegistry, "--names"});
        return run.exitCode == 0 ? static_cast<int>(std::count(run.out.begin(), run.out.end(), '\n'))
                                 : -1;
    }

    vrex_test::TempDir dir_;
    TestRegistry registry_{dir_.file("registry.scm")};
    pid_t holder_ = 0;
};

// A manifest of two good lines around one that nests arrays 100,000 deep.
void writeDeepManifest(ScmHostile& test) {
    const std::string deep = "{\"identity\": {\"class\": \"BasicUtilityIdentity\", \"Name\": " +
                             std::string(100000, '[') + std::string(100000, ']') +
                             "}, \"data\": {\"class\": \"BasicUtilityData\"}}\n";
    vrex_test::writeBytes(test.file("deep.jsonl"), utilityLine("rt_a") + deep + utilityLine("rt_b"));
}

void writeGoodManifest(ScmHostile& test) {
    vrex_test::writeBytes(test.file("good.jsonl"), utilityLine("rt_a") + utilityLine("rt_b"));
}

// A registry whose utilities' table refuses the entry named rt_b.
void refuseOneEntry(ScmHostile& test) {
    test.registerUtilities(1);
    writeGoodManifest(test);
    execSql(test.registry(),
            "CREATE TRIGGER refuse_b BEFORE INSERT ON \"SCM_UTILITIES\" WHEN NEW.\"Name\" = 'rt_b' "
            "BEGIN SELECT RAISE(ABORT, 'refused by a test'); END");
}

RunSetup withEnvironment(const std::string& name, const std::string& value) {
    RunSetup setup;
    setup.environment = {{name, value}};
    return setup;
}

RunSetup withOutput(const std::string& output) {
    RunSetup setup;
    setup.output = output;
    return setup;
}

std::size_t occurrences(const std::string& text, const std::string& part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != std::string::npos; at = text.find(part, at + 1)) {
        ++count;
    }
    return count;
}

void noSideFiles(ScmHostile& test, const ToolRun&) {
    EXPECT_FALSE(std::filesystem::exists(test.registry() + "-wal"));
    EXPECT_FALSE(std::filesystem::exists(test.registry() + "-shm"));
}

// Two functions of one name under different keys.
void registerTwoOfOneName(ScmHostile& test) {
    std::string lines;
    for (const char* element : {"1", "2"}) {
        lines += std::string("{\"identity\": {\"class\": \"SharedFunctionIdentity\", "
                             "\"ChecksumElement1\": ") +
                 element + "}, \"data\": {\"class\": \"SharedFunctionData\", \"Name\": \"twin\"}}\n";
    }
    vrex_test::writeBytes(test.file("twins.jsonl"), lines);
    ASSERT_EQ(test.scm({"register", kRegistry, "twins.jsonl"}).exitCode, 0);
}

// A stored record that no longer decodes.
void spoilARecord(ScmHostile& test) {
    test.registerUtilities(1);
    execSql(test.registry(), "UPDATE \"SCM_UTILITIES\" SET \"Data\" = '{}'");
}

RunSetup unprivileged() {
    RunSetup setup;
    setup.unprivileged = true;
    return setup;
}

TEST_P(ScmHostile, FailsLoudlyAndKeepsNothingHalfDone) {
    const HostileCase& hostile = GetParam();
    if (hostile.sqliteOnly && postgresqlSelected()) {
        GTEST_SKIP() << "SQLite-specific: works on the SQLite file itself";
    }
    if (hostile.prepare) hostile.prepare(*this);
    const ToolRun run = scm(hostile.arguments, hostile.setup);
    EXPECT_EQ(run.exitCode, hostile.exitCode) << run.out << run.err;
    EXPECT_TRUE(contains(run.out + run.err, hostile.said)) << run.out << run.err;
    if (hostile.entriesAfter >= 0) {
        EXPECT_EQ(listedEntries(), hostile.entriesAfter);
    }
    if (hostile.verify) hostile.verify(*this, run);
}

const HostileCase kHostileCases[] = {
    {"DeepNestingIsOneBadLineAndTheRunWritesNothing", writeDeepManifest,
     {"register", kRegistry, "deep.jsonl"}, {}, 2, "deep.jsonl:2: error", 0},
    {"KeepGoingKeepsTheGoodLinesAroundADeepOne", writeDeepManifest,
     {"register", kRegistry, "deep.jsonl", "--keep-going"}, {}, 2, "errors 1", 2},
    {"AStoreErrorStopsTheRunAndWritesNothing", refuseOneEntry,
     {"register", kRegistry, "good.jsonl"}, {}, 2, "the run stopped at the first entry", 1, true},
    {"AMissingManifestWritesNothing", writeGoodManifest,
     {"register", kRegistry, "good.jsonl", "absent.jsonl"}, {}, 2, "nothing was written", 0},
    {"ListOfADamagedPage", &ScmHostile::damageALeafPage, {"list", kRegistry}, {}, 2,
     "database disk image is malformed", -1, true},
    {"ExportOfADamagedPage", &ScmHostile::damageALeafPage, {"export", kRegistry}, {}, 2,
     "database disk image is malformed", -1, true},
    {"StatsOfADamagedPage", &ScmHostile::damageALeafPage, {"stats", kRegistry}, {}, 2,
     "database disk image is malformed", -1, true},
    {"ExportToAFullDisk", [](ScmHostile& t) { t.registerUtilities(3); },
     {"export", kRegistry}, withOutput("/dev/full"), 2, "No space left on device", 3},
    {"ListToAClosedOutput", [](ScmHostile& t) { t.registerUtilities(3); },
     {"list", kRegistry}, withOutput(kClosedOutput), 2, "cannot write the output", 3},
    {"AVerboseRunIntoAClosedPipeIsKept", writeGoodManifest,
     {"register", kRegistry, "good.jsonl", "-v"}, withOutput(kClosedPipe), 2,
     "(the run was committed)", 2},
    {"ReadOnlyRegistryLists", &ScmHostile::makeReadOnly, {"list", kRegistry, "--names"},
     unprivileged(), 0, "rt_u1", 2, true, noSideFiles},
    {"ReadOnlyRegistryRefusesARunOnce", &ScmHostile::makeReadOnly,
     {"register", kRegistry, "utilities.jsonl"}, unprivileged(), 2, "read-only for this process", 2, true,
     [](ScmHostile& test, const ToolRun& run) {
         EXPECT_EQ(occurrences(run.out + run.err, "read-only"), 1u);
         noSideFiles(test, run);
     }},
    {"ALockHeldTooLong", &ScmHostile::holdWriteLock, {"register", kRegistry, "utilities.jsonl"},
     withEnvironment("SCM_BUSY_TIMEOUT_MS", "200"), 2, "locked by another process", -1, true},
    {"ShowListsEveryEntryOfTheName", registerTwoOfOneName, {"show", kRegistry, "functions", "twin"},
     {}, 0, "\"twin\"", 2, false,
     [](ScmHostile&, const ToolRun& run) { EXPECT_EQ(occurrences(run.out, "category "), 2u); }},
    {"ShowSaysAnEntryDoesNotDecode", spoilARecord,
     {"show", kRegistry, "--checksum", SCM::SCMBasicUtilityIdentity("rt_u0").getChecksum()}, {},
     1, "1 entry with the checksum", -1, true},
    {"AnInvalidBusyTimeout", nullptr, {"list", kRegistry},
     withEnvironment("SCM_BUSY_TIMEOUT_MS", "soon"), 2, "SCM_BUSY_TIMEOUT_MS", -1},
    {"Version", nullptr, {"--version"}, {}, 0, "scm 0.1.0", -1},
    {"AnUnknownCommand", nullptr, {"lst", kRegistry}, {}, 2, "unknown command \"lst\"", -1},
    {"ANegativeTop", nullptr, {"stats", kRegistry, "--top", "-1"}, {}, 2, "--top", -1},
};

void PrintTo(const HostileCase& hostile, std::ostream* out) { *out << hostile.label; }

INSTANTIATE_TEST_SUITE_P(Cases, ScmHostile, ::testing::ValuesIn(kHostileCases),
                         [](const auto& info) { return std::string(info.param.label); });

}  // namespace
