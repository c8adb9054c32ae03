// The registration and look-up paths as code generators drive them, checked by their outcomes and
// by what the dictionary file holds afterwards: one explicit transaction around many direct
// registrations, refused merges, a dictionary class without "Name", and look-ups inside a
// transaction.
#include <gtest/gtest.h>

#include <cstdlib>
#include <fstream>
#include <memory>
#include <sstream>

#include "shared_code_manager.hpp"
#include "support/TempDir.hpp"
#include "support/TestRegistry.hpp"
#include "tv/TvFeature.hpp"

namespace {

using namespace SCM;

class RegistrationPaths : public ::testing::Test {
protected:
    void SetUp() override { TvFeature::setValue("UseVrexCache", 1); }

    std::string file(const std::string& name) const { return directory_.file(name); }

    // The shipped metamodel without the "Name" property of SCM_UTILITIES.
    std::string metamodelWithoutUtilityNames() const {
        std::stringstream text;
        text << std::ifstream(getMetaModelFile()).rdbuf();
        std::string xml = text.str();
        const std::string utilities = "<class name=\"SCM_UTILITIES\">";
        const std::string name = "<property name=\"Name\" kind=\"text\" indexed=\"true\"/>";
        const std::size_t at = xml.find(name, xml.find(utilities));
        EXPECT_NE(at, std::string::npos);
        xml.erase(at, name.size());
        const std::string path = file("no_names.xml");
        std::ofstream(path) << xml;
        return path;
    }

    scm_test::TempDir directory_;
    scm_test::TestRegistry registry_{file("registry.scm")};
};

SCMBasicUtilityData utilityRecord(const std::string& model) {
    SCMBasicUtilityData record("rt_sat_enc", "rt_sat");
    record.setName("rt_sat");
    record.addModelName(model);
    return record;
}

TEST_F(RegistrationPaths, OneTransactionRegistersMergesAndRefuses) {
    SCMBasicUtilityIdentity utility("rt_sat");
    SCMSharedFunctionIdentity function(1, 2, 3, 4);
    {
        SharedCodeManagerInterface registry(registry_.location());
        SCMDataAdapter* adapter = registry.getDataAdapter();
        EXPECT_FALSE(adapter->endTransaction()) << "none to end";
        ASSERT_TRUE(adapter->beginTransaction());
        EXPECT_FALSE(adapter->beginTransaction()) << "no nesting";
        EXPECT_TRUE(adapter->isTransactionInProgress());
        SCMBasicUtilityData first = utilityRecord("model_a");
        SCMBasicUtilityData second = utilityRecord("model_b");
        SCMSharedFunctionData add("add", "add.c");
        SCMSharedFunctionData other("other", "other.c");
        EXPECT_EQ(registry.registerDataInTransaction(&utility, &first), IS_REGISTERED);
        EXPECT_EQ(registry.registerDataInTransaction(&utility, &second), IS_PRESENT_UPDATE);
        EXPECT_EQ(registry.registerDataInTransaction(&function, &add), IS_REGISTERED);
        EXPECT_EQ(registry.registerDataInTransaction(&function, &other), IS_PRESENT_ERROR);
        std::unique_ptr<SCMData> seen(registry.retrieveData(&utility));  // inside the transaction
        EXPECT_EQ(static_cast<SCMBasicUtilityData&>(*seen).getModelNames().size(), 2u);
        EXPECT_TRUE(adapter->endTransaction());
        EXPECT_FALSE(adapter->isTransactionInProgress());
    }
    const std::string dump = scm_test::registryDump(registry_.location());
    EXPECT_NE(dump.find("\"ModelNames\":[\"model_a\",\"model_b\"]"), std::string::npos) << dump;
    EXPECT_NE(dump.find("\"FunctionName\":\"add\""), std::string::npos) << dump;
    EXPECT_EQ(dump.find("other"), std::string::npos) << dump;
}

TEST_F(RegistrationPaths, ARefusedMergeLeavesTheStoredTextAsItWasAndTheCacheReportsIt) {
    SCMSharedFunctionIdentity function(5, 6, 7, 8);
    SCMSharedFunctionData add("add", "add.c");
    SCMSharedFunctionData other("other", "other.c");
    SharedCodeManagerInterface registry(registry_.location());
    ASSERT_EQ(registry.registerDataInTransaction(&function, &add), IS_REGISTERED);
    const std::string before = scm_test::registryDump(registry_.location());
    EXPECT_EQ(registry.registerDataInTransaction(&function, &other), IS_PRESENT_ERROR);
    EXPECT_EQ(registry.registerData(&function, &other), WILL_BE_REGISTERED);
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);
    EXPECT_EQ(scm_test::registryDump(registry_.location()), before);

    const std::vector<SCMCachedEntry> refused = registry.getDataAdapter()->takeRefusedEntries();
    ASSERT_EQ(refused.size(), 1u);
    EXPECT_EQ(refused[0].first->getChecksum(), function.getChecksum());
    EXPECT_EQ(static_cast<SCMSharedFunctionData&>(*refused[0].second).getFunctionName(), "other");
    EXPECT_TRUE(registry.getDataAdapter()->takeRefusedEntries().empty()) << "handed over";
}

// While another connection holds the write lock, cached batches fail; the answers do not say so.
TEST_F(RegistrationPaths, CachedEntriesOfAFailedBatchAreRetriedUntilTakenOver) {
    SharedCodeManagerInterface holder(registry_.location());
    setenv("SCM_BUSY_TIMEOUT_MS", "100", 1);
    SharedCodeManagerInterface registry(registry_.location());
    unsetenv("SCM_BUSY_TIMEOUT_MS");
    SCMDataAdapter* adapter = registry.getDataAdapter();
    auto stored = [adapter] {
        return static_cast<SCMVrexDataAdapter*>(adapter)->getAllChildren(SCM_UTILITIES).size();
    };
    SCMBasicUtilityData record = utilityRecord("model_a");

    // A writer locks the file, or on a PostgreSQL server the keys it searched.
    auto holdLock = [&holder](const char* name) {
        SCMBasicUtilityIdentity key(name);
        ASSERT_TRUE(holder.getDataAdapter()->beginTransaction());
        EXPECT_EQ(std::unique_ptr<SCMData>(holder.getDataAdapter()->getValue(&key)), nullptr);
    };
    holdLock("rt_0");
    for (int i = 0; i < 51; ++i) {
        SCMBasicUtilityIdentity key("rt_" + std::to_string(i));
        EXPECT_EQ(registry.registerData(&key, &record), i < 50 ? WILL_BE_REGISTERED : IS_REGISTERED);
    }
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);  // retried, still locked
    EXPECT_EQ(adapter->countBatchFailures(), 51u);
    const std::string reason = adapter->batchFailureReason();
    EXPECT_NE(reason.find("lock"), std::string::npos) << reason;
    ASSERT_TRUE(holder.getDataAdapter()->endTransaction());
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);
    EXPECT_EQ(adapter->countBatchFailures(), 0u);
    EXPECT_EQ(stored(), 51u);

    holdLock("rt_late");
    SCMBasicUtilityIdentity late("rt_late");
    EXPECT_EQ(registry.registerData(&late, &record), WILL_BE_REGISTERED);
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);
    EXPECT_EQ(adapter->takeBatchFailures().entries.size(), 1u);
    ASSERT_TRUE(holder.getDataAdapter()->endTransaction());
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);
    EXPECT_EQ(stored(), 51u) << "taken entries are no longer retried";
}

TEST_F(RegistrationPaths, AClassWithoutNameTakesEntriesOnBothRoads) {
    SharedCodeManagerInterface registry;
    registry.setDataAdapter(new SCMVrexDataAdapter(registry_.location(), metamodelWithoutUtilityNames()));
    ASSERT_TRUE(registry.getDataAdapter()->doesExist());
    SCMBasicUtilityIdentity direct("rt_direct");
    SCMBasicUtilityIdentity cached("rt_cached");
    SCMBasicUtilityData record = utilityRecord("model_a");
    EXPECT_EQ(registry.registerDataInTransaction(&direct, &record), IS_REGISTERED);
    EXPECT_EQ(registry.registerData(&cached, &record), WILL_BE_REGISTERED);
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);

    EXPECT_EQ(registry.retrieveDataForName(SCM_UTILITIES, "rt_sat"), nullptr) << "no names stored";
    EXPECT_EQ(static_cast<SCMVrexDataAdapter*>(registry.getDataAdapter())->getAllChildren(SCM_UTILITIES).size(), 2u);
    // The other categories keep their names.
    SCMSharedFunctionIdentity function(1, 1, 1, 1);
    SCMSharedFunctionData add("add", "add.c");
    add.setName("add");
    EXPECT_EQ(registry.registerDataInTransaction(&function, &add), IS_REGISTERED);
    std::unique_ptr<SCMData> named(registry.retrieveDataForName(SCM_SHARED_FUNCTIONS, "add"));
    EXPECT_NE(named, nullptr);
}

// An identity whose getTypeString() names another class than its category's.
class RelabelledIdentity : public SCMBasicUtilityIdentity {
public:
    RelabelledIdentity(const std::string& identifier, std::string className)
        : SCMBasicUtilityIdentity(identifier), className_(std::move(className)) {}
    std::string getTypeString() const override { return className_; }
    SCMIdentity* clone() const override { return new RelabelledIdentity(*this); }

private:
    std::string className_;
};

TEST_F(RegistrationPaths, EntriesGoToTheClassTheIdentityNames) {
    SharedCodeManagerInterface registry(registry_.location());
    RelabelledIdentity direct("rt_direct", "SCM_OTHER");
    RelabelledIdentity cached("rt_cached", "SCM_OTHER");
    RelabelledIdentity nowhere("rt_nowhere", "NO_SUCH_CLASS");
    SCMBasicUtilityData record = utilityRecord("model_a");
    EXPECT_EQ(registry.registerDataInTransaction(&direct, &record), IS_REGISTERED);
    EXPECT_EQ(registry.registerData(&cached, &record), WILL_BE_REGISTERED);
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);
    EXPECT_EQ(registry.registerDataInTransaction(&nowhere, &record), IS_TRANSACTION_ERROR);

    auto* adapter = static_cast<SCMVrexDataAdapter*>(registry.getDataAdapter());
    EXPECT_EQ(adapter->getAllChildren(SCM_OTHER).size(), 2u);
    EXPECT_EQ(adapter->getAllChildren(SCM_UTILITIES).size(), 0u);
}

TEST_F(RegistrationPaths, NameLookUpsReturnBothHalvesOfTheFirstMatch) {
    SharedCodeManagerInterface registry(registry_.location());
    SCMBasicUtilityIdentity utility("rt_sat");
    SCMBasicUtilityData record = utilityRecord("model_a");
    ASSERT_EQ(registry.registerDataInTransaction(&utility, &record), IS_REGISTERED);
    const SCMIdentityDataPair found = registry.retrieveIdentityAndDataForName(SCM_UTILITIES, "rt_sat");
    std::unique_ptr<SCMIdentity> identity(found.first);
    std::unique_ptr<SCMData> data(found.second);
    ASSERT_TRUE(identity && data);
    EXPECT_EQ(identity->getChecksum() + data->getName(), utility.getChecksum() + "rt_sat");
    EXPECT_EQ(registry.retrieveIdentityAndDataForName(SCM_UTILITIES, "none").second, nullptr);
}

}  // namespace
