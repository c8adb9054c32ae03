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
    std::string checksumOf(unsigned element) {
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

TEST_F(RegistryInspection, ReadOnlyOpeningNeverCreatesAFile) {
    Inspector inspector(path_);
    EXPECT_FALSE(inspector.isOpen());
    EXPECT_NE(inspector.getOpenError().find(path_), std::string::npos) << inspector.getOpenError();
    EXPECT_FALSE(std::filesystem::exists(path_));
}

TEST_F(RegistryInspection, ReadOnlyOpeningReadsAndLeavesTheFileAsItWas) {
    registerFunctions(2);
    tamper("UPDATE \"SCM_SHARED_FUNCTIONS\" SET \"Identity\" = NULL WHERE \"_id\" = 2");
    const std::string before = readBytes(path_);
    {
        Inspector inspector(path_);
        ASSERT_TRUE(inspector.isOpen()) << inspector.getOpenError();
        EXPECT_EQ(inspector.getOpenError(), "");
        tvdiag::util::diagnostics diagnostics;
        EXPECT_EQ(inspector.visitEntries(SCM_SHARED_FUNCTIONS, [](Inspector::StoredEntry&) {}, diagnostics), 2u);
        EXPECT_EQ(inspector.deleteTornEntries(diagnostics), 0u);  // refused: opened for reading
        EXPECT_FALSE(diagnostics.empty());
    }
    EXPECT_EQ(readBytes(path_), before);
}

TEST_F(RegistryInspection, AFileThatIsNotARegistryIsRefusedWithItsNameAndUnchanged) {
    vrex_test::writeBytes(path_, "model,function\nm1,f1\n");
    SCMVrexDataAdapter adapter(path_, getMetaModelFile());
    EXPECT_FALSE(adapter.doesExist());
    EXPECT_NE(adapter.getOpenError().find(path_), std::string::npos) << adapter.getOpenError();
    EXPECT_EQ(readBytes(path_), "model,function\nm1,f1\n");
}

TEST_F(RegistryInspection, AllEntriesPairEachIdentityWithItsOwnRecord) {
    registerFunctions(3);
    tamper("UPDATE \"SCM_SHARED_FUNCTIONS\" SET \"Data\" = '{}' WHERE \"_id\" = 2");
    Inspector inspector(path_);
    std::vector<SCMIdentityDataPair> entries = inspector.getAllEntries(SCM_SHARED_FUNCTIONS);
    ASSERT_EQ(entries.size(), 2u);  // the entry whose record does not decode is left out
    EXPECT_EQ(entries[0].first->getChecksum(), checksumOf(1));
    EXPECT_EQ(entries[0].second->getName(), "f1");
    EXPECT_EQ(entries[1].first->getChecksum(), checksumOf(3));
    EXPECT_EQ(entries[1].second->getName(), "f3");
    for (auto& [identity, data] : entries) {
        delete identity;
        delete data;
    }
    EXPECT_TRUE(inspector.getAllEntries(SCM_SHARED_TYPES).empty());
}

TEST_F(RegistryInspection, VisitingByKeyOrNameLooksInOneCategory) {
    registerFunctions(2);
    Inspector inspector(path_);
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    auto names = [&](SCMTypes type, Inspector::EntryKey key, const std::string& value) {
        std::string found;
        inspector.visitEntries(
            type, key, value,
            [&found](Inspector::StoredEntry& entry) { found += entry.data->getName(); },
            diagnostics);
        return found;
    };
    using Key = Inspector::EntryKey;
    EXPECT_EQ(names(SCM_SHARED_FUNCTIONS, Key::Checksum, checksumOf(2)), "f2");
    EXPECT_EQ(names(SCM_SHARED_FUNCTIONS, Key::Name, "f1"), "f1");
    EXPECT_EQ(names(SCM_SHARED_TYPES, Key::Checksum, checksumOf(2)), "");
    EXPECT_EQ(names(SCM_SHARED_FUNCTIONS, Key::Checksum, "nothing"), "");
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

TEST_F(RegistryInspection, ASoundRegistryChecksClean) {
    registerFunctions(3);
    {
        SCMVrexDataAdapter adapter(path_, getMetaModelFile());
        SCMBasicUtilityIdentity key("rt_sat");
        SCMBasicUtilityData record("rt_sat", "rt_sat");
        record.setName("rt_sat");
        ASSERT_EQ(adapter.insertValueInTransaction(&key, &record), IS_REGISTERED);
    }
    tvdiag::util::diagnostics problems;
    EXPECT_EQ(check(problems), 4u);
    EXPECT_TRUE(problems.empty()) << problems.toString();
}

TEST_F(RegistryInspection, CheckFindsEveryKindOfTamperedEntry) {
    registerFunctions(5);
    const std::string table = "\"SCM_SHARED_FUNCTIONS\"";
    tamper("UPDATE " + table + " SET \"Checksum\" = 'edited' WHERE \"_id\" = 1;"
           "UPDATE " + table + " SET \"Identity\" = '{\"class\":' WHERE \"_id\" = 2;"
           "UPDATE " + table + " SET \"Name\" = 'renamed' WHERE \"_id\" = 3;"
           "UPDATE " + table + " SET \"Data\" = NULL WHERE \"_id\" = 4;"
           "INSERT INTO " + table + " (\"Checksum\", \"Name\", \"Identity\", \"Data\") "
           "SELECT \"Checksum\", \"Name\", \"Identity\", \"Data\" FROM " + table +
           " WHERE \"_id\" = 5");
    tvdiag::util::diagnostics problems;
    EXPECT_EQ(check(problems), 6u);
    EXPECT_EQ(identifiers(problems),
              "scm:check:checksumMismatch\n"
              "scm:check:duplicateChecksum\n"
              "scm:check:nameMismatch\n"
              "scm:check:torn\n"
              "scm:check:undecodable\n")
        << problems.toString();
    const std::string report = problems.toString();
    EXPECT_NE(report.find("SCM_SHARED_FUNCTIONS object 1 (checksum \"edited\"): its identity "
                          "computes the checksum \"" + checksumOf(1) + "\""),
              std::string::npos)
        << report;
    EXPECT_NE(report.find("SCM_SHARED_FUNCTIONS object 6 (checksum \"" + checksumOf(5) +
                          "\") has the same checksum as SCM_SHARED_FUNCTIONS object 5"),
              std::string::npos)
        << report;
}

TEST_F(RegistryInspection, AnIdentityAndARecordStoredUnderAnotherCategoryAreReported) {
    registerFunctions(1);
    tamper("INSERT INTO \"SCM_SHARED_TYPES\" (\"Checksum\", \"Name\", \"Identity\", \"Data\") "
           "SELECT \"Checksum\", \"Name\", \"Identity\", \"Data\" FROM \"SCM_SHARED_FUNCTIONS\"");
    tvdiag::util::diagnostics problems;
    EXPECT_EQ(check(problems), 2u);
    EXPECT_EQ(identifiers(problems), "scm:check:wrongCategory\nscm:check:wrongRecordClass\n")
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
