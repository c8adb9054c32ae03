// The registry inspector: read-only opening, open errors, whole entries, lookup by checksum or
// name, the check of every stored entry, and the repair.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "shared_code_manager.hpp"
#include "support/DirectSql.hpp"
#include "vrex/VrexTestSupport.hpp"

namespace {

using namespace SCM;
using scm_test::execSql;
using vrex_test::readBytes;
using Inspector = SCMRegistryInspector;

// The identifiers of `problems`, sorted, one per line.
std::string identifiers(const tvdiag::util::diagnostics& problems) {
    std::vector<std::string> all;
    for (const auto& record : problems.records()) all.push_back(record.identifier);
    std::sort(all.begin(), all.end());
    std::string text;
    for (const std::string& identifier : all) text += identifier + "\n";
    return text;
}

class RegistryInspection : public ::testing::Test {
protected:
    // Registers shared functions f1..fn with the keys (i, 0, 0, 0) and closes the file.
    void registerFunctions(unsigned count) {
        SCMVrexDataAdapter adapter(path_, getMetaModelFile());
        for (unsigned i = 1; i <= count; ++i) {
            SCMSharedFunctionIdentity key(i, 0, 0, 0);
            SCMSharedFunctionData record("f" + std::to_string(i), "f.c");
            record.setName("f" + std::to_string(i));
            ASSERT_EQ(adapter.insertValueInTransaction(&key, &record), IS_REGISTERED);
        }
    }
    static std::string checksumOf(unsigned element) {
        return SCMSharedFunctionIdentity(element, 0, 0, 0).getChecksum();
    }
    void tamper(const std::string& sql) { execSql(path_, sql); }
    // checkEntries on the registry opened for reading, which must end without a storage error.
    std::size_t check(tvdiag::util::diagnostics& problems) {
        Inspector inspector(path_);
        tvdiag::util::diagnostics error;
        const std::size_t entries = inspector.checkEntries(problems, error);
        EXPECT_TRUE(error.empty()) << error.toString();
        return entries;
    }

    vrex_test::TempDir dir_;
    std::string path_ = dir_.file("registry.scm");
};

TEST_F(RegistryInspection, ReadOnlyOpeningNeverCreatesNorChangesAFile) {
    EXPECT_NE(Inspector(path_).getOpenError().find(path_), std::string::npos);
    EXPECT_FALSE(std::filesystem::exists(path_));
    registerFunctions(2);
    tamper("UPDATE \"SCM_SHARED_FUNCTIONS\" SET \"Identity\" = NULL WHERE \"_id\" = 2");
    const std::string before = readBytes(path_);
    {
        Inspector inspector(path_);
        ASSERT_TRUE(inspector.isOpen()) << inspector.getOpenError();
        tvdiag::util::diagnostics diagnostics;
        EXPECT_EQ(inspector.deleteTornEntries(diagnostics), 0u);  // refused: opened for reading
        EXPECT_FALSE(diagnostics.empty());
    }
    EXPECT_EQ(readBytes(path_), before);
}

// Whole entries pair each identity with its own record (an entry whose record does not decode is
// left out); the keyed walk looks in one category only.
TEST_F(RegistryInspection, EntriesAreFoundWholeByCategoryChecksumOrName) {
    registerFunctions(3);
    tamper("UPDATE \"SCM_SHARED_FUNCTIONS\" SET \"Data\" = '{}' WHERE \"_id\" = 2");
    Inspector inspector(path_);
    EXPECT_EQ(inspector.estimateEntries(), 3u);  // what progress displays count towards
    std::string all;
    for (auto& [identity, data] : inspector.getAllEntries(SCM_SHARED_FUNCTIONS)) {
        all += data->getName() + ":" + identity->getChecksum() + " ";
        delete identity;
        delete data;
    }
    EXPECT_EQ(all, "f1:" + checksumOf(1) + " f3:" + checksumOf(3) + " ");
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    auto names = [&](SCMTypes type, Inspector::EntryKey key, const std::string& value) {
        std::string found;
        inspector.visitEntries(
            type, key, value, [&found](Inspector::StoredEntry& entry) { found += entry.data->getName(); },
            diagnostics);
        return found;
    };
    using Key = Inspector::EntryKey;
    EXPECT_EQ(names(SCM_SHARED_FUNCTIONS, Key::Checksum, checksumOf(3)), "f3");
    EXPECT_EQ(names(SCM_SHARED_FUNCTIONS, Key::Name, "f1"), "f1");
    EXPECT_EQ(names(SCM_SHARED_TYPES, Key::Checksum, checksumOf(3)), "");
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

// The walks read a few thousand entries per statement and go on to the last one.
TEST_F(RegistryInspection, WalksGoOnPastOnePage) {
    registerFunctions(2001);
    Inspector inspector(path_);
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    EXPECT_EQ(inspector.visitEntries(SCM_SHARED_FUNCTIONS, [](Inspector::StoredEntry&) {}, diagnostics), 2001u);
}

TEST_F(RegistryInspection, CheckFindsEveryKindOfTamperedEntry) {
    registerFunctions(5);
    const std::string table = "\"SCM_SHARED_FUNCTIONS\"";
    const std::string copyRow = " (\"Checksum\", \"Name\", \"Identity\", \"Data\") SELECT \"Checksum\", "
                                "\"Name\", \"Identity\", \"Data\" FROM " + table + " WHERE \"_id\" = 5;";
    tamper("UPDATE " + table + " SET \"Checksum\" = 'edited' WHERE \"_id\" = 1;"
           "UPDATE " + table + " SET \"Identity\" = '{\"class\":' WHERE \"_id\" = 2;"
           "UPDATE " + table + " SET \"Name\" = 'renamed' WHERE \"_id\" = 3;"
           "UPDATE " + table + " SET \"Data\" = NULL WHERE \"_id\" = 4;"
           "INSERT INTO " + table + copyRow + "INSERT INTO \"SCM_SHARED_TYPES\"" + copyRow);
    tvdiag::util::diagnostics problems;
    EXPECT_EQ(check(problems), 7u);
    EXPECT_EQ(identifiers(problems),
              "scm:check:checksumMismatch\n"
              "scm:check:duplicateChecksum\n"
              "scm:check:nameMismatch\n"
              "scm:check:torn\n"
              "scm:check:undecodable\n"
              "scm:check:wrongCategory\n"
              "scm:check:wrongRecordClass\n")
        << problems.toString();
}

// Torn rows, a lost index and a lost catalogue row (which once made every writable open fail)
// are found read-only, and an inspector opened for repair (which makes the missing parts again)
// deletes the torn row.
TEST_F(RegistryInspection, TornRowsAndMissingPartsAreRepaired) {
    registerFunctions(3);
    tamper("UPDATE \"SCM_SHARED_FUNCTIONS\" SET \"Identity\" = NULL WHERE \"_id\" = 2;"
           "DROP INDEX \"index:SCM_UTILITIES.Name\";"
           "DELETE FROM \"_vrex_catalogue\" WHERE class = 'SCM_SHARED_FUNCTIONS' AND property = 'Data'");
    tvdiag::util::diagnostics problems;
    EXPECT_EQ(check(problems), 3u);
    EXPECT_EQ(identifiers(problems), "scm:check:torn\nvrex:integrity:missing\nvrex:integrity:missing\n")
        << problems.toString();
    EXPECT_EQ(Inspector::countRepairable(problems), 3u);
    {
        Inspector repairer(path_, Inspector::Access::Repair);
        ASSERT_TRUE(repairer.isOpen()) << repairer.getOpenError();
        tvdiag::util::diagnostics diagnostics;
        EXPECT_EQ(repairer.deleteTornEntries(diagnostics), 1u);
        EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    }
    tvdiag::util::diagnostics after;
    EXPECT_EQ(check(after), 2u);
    EXPECT_TRUE(after.empty()) << after.toString();
}

}  // namespace
