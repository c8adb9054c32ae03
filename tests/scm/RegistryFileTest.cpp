// The registry on a real dictionary file: create-or-merge, the write cache, transactions, failed
// opens, and round trips of every category through close and reopen.
#include <gtest/gtest.h>

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>

#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"
#include "support/RegistryDriver.hpp"
#include "support/RegistryDump.hpp"
#include "support/TempDir.hpp"
#include "support/TestRegistry.hpp"
#include "tv/TvFeature.hpp"
#include "vrex/Utf16.hpp"

namespace {

using namespace SCM;
namespace fs = std::filesystem;
using Names = std::vector<std::string>;

// The whole-object text of a library object: equal texts mean equal class and fields.
std::string encoded(tv::mi::Handle* object) { return kobj::encodeObject(object->toScriptValue()); }

template <typename T>
struct Owned {
    std::vector<std::unique_ptr<T>> objects;
    explicit Owned(const std::vector<T*>& raw) {
        for (T* object : raw) objects.emplace_back(object);
    }
    std::size_t size() const { return objects.size(); }
};

class RegistryFile : public ::testing::Test {
protected:
    void SetUp() override { TvFeature::setValue("UseVrexCache", 1); }
    void TearDown() override { TvFeature::setValue("UseVrexCache", 1); }
    const std::string& path() const { return registry_.location(); }

    scm_test::TempDir directory_;
    scm_test::TestRegistry registry_{directory_.file("registry.scm")};
};

TEST_F(RegistryFile, NullArgumentsAreEmptyOnBothRoads) {
    SharedCodeManagerInterface registry(path());
    SCMGenericIdentity key(SCM_OTHER, "k");
    EXPECT_EQ(registry.registerDataInTransaction(&key, nullptr), IS_EMPTY);
    EXPECT_EQ(registry.registerData(nullptr, nullptr), IS_EMPTY);
    EXPECT_TRUE(registry.retrieveAllData(SCM_OTHER).empty());
}

TEST_F(RegistryFile, InvalidCategoryIsStoredUnderTheMarkerClass) {
    SharedCodeManagerInterface registry(path());
    SCMGenericIdentity key(static_cast<SCMTypes>(9), "odd");
    SCMGenericData record("odd");
    EXPECT_EQ(registry.registerDataInTransaction(&key, &record), IS_REGISTERED);
    auto* adapter = static_cast<SCMVrexDataAdapter*>(registry.getDataAdapter());
    EXPECT_EQ(adapter->getAllChildren(SCM_NUM).size(), 1u);
    std::unique_ptr<SCMData> stored(registry.retrieveData(&key));
    EXPECT_NE(stored, nullptr);
}

TEST_F(RegistryFile, EqualIdentifiersOfTwoCategoriesStayApart) {
    SharedCodeManagerInterface registry(path());
    SCMGenericIdentity functionKey(SCM_SHARED_FUNCTIONS, "same");
    SCMGenericIdentity typeKey(SCM_SHARED_TYPES, "same");
    ASSERT_EQ(functionKey.getChecksum(), typeKey.getChecksum());
    SCMGenericData a("a"), b("b");
    EXPECT_EQ(registry.registerDataInTransaction(&functionKey, &a), IS_REGISTERED);
    EXPECT_EQ(registry.registerDataInTransaction(&typeKey, &b), IS_REGISTERED);
    std::unique_ptr<SCMData> storedA(registry.retrieveData(&functionKey));
    std::unique_ptr<SCMData> storedB(registry.retrieveData(&typeKey));
    EXPECT_EQ(static_cast<SCMGenericData&>(*storedA).getIdentifier(), "a");
    EXPECT_EQ(static_cast<SCMGenericData&>(*storedB).getIdentifier(), "b");
}

TEST_F(RegistryFile, CacheWritesTheFiftyFirstEntryAndEmpties) {
    SharedTypesInterface registry(path());
    auto* adapter = static_cast<SCMVrexDataAdapter*>(registry.getDataAdapter());
    std::vector<SCMRegistry> outcomes;
    for (unsigned i = 1; i <= 52; ++i) {
        SCMSharedTypesIdentity key(i, 0, 0, 0);
        SCMSharedTypesData record("T" + std::to_string(i));
        outcomes.push_back(registry.registerData(&key, &record));
        if (i == 50) {
            EXPECT_EQ(adapter->getCacheManager()->size(), 50u);
            EXPECT_TRUE(adapter->getAllChildren(SCM_SHARED_TYPES).empty());
        }
    }
    for (unsigned i = 0; i < 50; ++i) EXPECT_EQ(outcomes[i], WILL_BE_REGISTERED) << i;
    EXPECT_EQ(outcomes[50], IS_REGISTERED);
    EXPECT_EQ(outcomes[51], WILL_BE_REGISTERED);
    EXPECT_EQ(adapter->getAllChildren(SCM_SHARED_TYPES).size(), 51u);
    EXPECT_EQ(adapter->getCacheManager()->size(), 1u);
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);
    EXPECT_EQ(adapter->getCacheManager()->size(), 0u);
    EXPECT_EQ(registry.getAllTypesNames().size(), 52u);
}

TEST_F(RegistryFile, CachedEntriesAreSeenOnlyByTheDataByNameLookups) {
    SharedConstantsInterface registry(path());
    SCMSharedConstantsIdentity key(7, 7, 7, 7);
    SCMSharedConstantsData record("PI");
    record.setInitialString("3.14159");
    EXPECT_EQ(registry.registerData(&key, &record), WILL_BE_REGISTERED);

    EXPECT_EQ(registry.retrieveData(&key), nullptr);
    EXPECT_EQ(registry.retrieveIdentityForName(SCM_SHARED_CONSTANTS, "PI"), nullptr);
    SCMData* cached = registry.retrieveDataForName(SCM_SHARED_CONSTANTS, "PI");
    ASSERT_NE(cached, nullptr);
    EXPECT_TRUE(registry.getDataAdapter()->isBackendOwned(cached));  // not ours to delete
    EXPECT_EQ(static_cast<SCMSharedConstantsData*>(cached)->getInitialString(), "3.14159");
    EXPECT_EQ(registry.retrieveDataForName(SCM_SHARED_DATA, "PI"), nullptr);

    registry.finalize();
    std::unique_ptr<SCMData> stored(registry.retrieveData(&key));
    ASSERT_NE(stored, nullptr);
    EXPECT_FALSE(registry.getDataAdapter()->isBackendOwned(stored.get()));
    std::unique_ptr<SCMIdentity> identity(
        registry.retrieveIdentityForName(SCM_SHARED_CONSTANTS, "PI"));
    ASSERT_NE(identity, nullptr);
    EXPECT_EQ(identity->getChecksum(), key.getChecksum());
}

TEST_F(RegistryFile, TwoCachedEntriesWithOneKeyMergeInTheBatch) {
    {
        SharedCodeManagerInterface registry(path());
        SCMMultiWordFcnData first(Names{"a", "b"});
        SCMMultiWordFcnData second(Names{"c", "a"});
        SCMGenericIdentity key(SCM_OTHER, "multiword");
        registry.registerData(&key, &first);
        registry.registerData(&key, &second);
    }  // destroying the registry writes the cache
    SharedCodeManagerInterface reopened(path());
    Owned<SCMData> records(reopened.retrieveAllData(SCM_OTHER));
    ASSERT_EQ(records.size(), 1u);
    Names names = static_cast<SCMMultiWordFcnData&>(*records.objects[0]).getFcnNames();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Names{"a", "b", "c"}));
}

TEST_F(RegistryFile, FailedOpenLeavesAFacadeWithoutAStore) {
    SCM_SQLITE_ONLY("a directory where the file should be");
    const std::string directory = directory_.file("a_directory");
    fs::create_directory(directory);
    SharedCodeManagerInterface registry(directory);
    SCMDataAdapter* adapter = registry.getDataAdapter();
    ASSERT_NE(adapter, nullptr);
    EXPECT_FALSE(adapter->doesExist());
    EXPECT_EQ(adapter->getCacheManager(), nullptr);
    SCMGenericIdentity key(SCM_OTHER, "k");
    SCMGenericData record("k");
    EXPECT_EQ(registry.registerData(&key, &record), IS_TRANSACTION_ERROR);
    EXPECT_EQ(registry.registerDataInTransaction(&key, &record), IS_TRANSACTION_ERROR);
    EXPECT_EQ(registry.finalize(), IS_REGISTERED);  // nothing cached, nothing to write
    EXPECT_FALSE(adapter->beginTransaction());
    EXPECT_EQ(adapter->cacheValue(&key, &record), IS_TRANSACTION_ERROR);
    EXPECT_EQ(adapter->getIdentityAndDataFromName(SCM_OTHER, "k").first, nullptr);
}

TEST_F(RegistryFile, OnlyTheFirstObjectWithAChecksumIsReadOrMerged) {
    SCMGenericIdentity key(SCM_OTHER, "twice");
    {
        // Two objects with one checksum, written past the registry's own create-or-merge.
        HxInitialize_shared_code_manager();
        vrex::DataModelRepository repository;
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        repository.open(vrex::toUtf16(path()), vrex::toUtf16(getMetaModelFile()),
                        vrex::DataModelRepository::defaultOptions(), diagnostics);
        ASSERT_TRUE(diagnostics.empty()) << diagnostics.toString();
        const vrex::ClassRef entryClass =
            repository.metamodel(diagnostics).findPackage("SCM").findClass("SCM_OTHER");
        for (const char* identifier : {"first", "second"}) {
            SCMGenericData record(identifier);
            const vrex::ObjectRef object = repository.createObject(entryClass, diagnostics);
            repository.setPropertyValue(object, entryClass.findProperty("Checksum"),
                                        qaArray::fromText(key.getChecksum()), diagnostics);
            repository.setPropertyValue(object, entryClass.findProperty("Identity"),
                                        key.toScriptValue(), diagnostics);
            repository.setPropertyValue(object, entryClass.findProperty("Data"),
                                        record.toScriptValue(), diagnostics);
        }
        ASSERT_TRUE(diagnostics.empty()) << diagnostics.toString();
    }
    SharedCodeManagerInterface registry(path());
    std::unique_ptr<SCMData> stored(registry.retrieveData(&key));
    EXPECT_EQ(static_cast<SCMGenericData&>(*stored).getIdentifier(), "first");
    SCMGenericData second("second");
    EXPECT_EQ(registry.registerDataInTransaction(&key, &second), IS_PRESENT_ERROR);
}

// Every category end to end, in category order: register, close, reopen, and compare the whole
// objects.
TEST_F(RegistryFile, EveryCategoryRoundTripsThroughTheFile) {
    std::vector<std::pair<std::unique_ptr<SCMIdentity>, std::unique_ptr<SCMData>>> entries;
    auto utility = std::make_unique<SCMBasicUtilityData>("rt_sat_s32", "rt_sat");
    utility->setName("rt_sat");
    utility->setMultiword(true);
    utility->setModelNames({"m1", "m2"});
    utility->setChildren({"rt_min", "rt_max"});
    utility->setTraceability({"m1:a/b", "m2:c"});
    auto utilityKey = std::make_unique<SCMBasicUtilityIdentity>("rt_sat");
    utilityKey->setSymbolString("sat");
    utilityKey->setMaxIdLength(31);
    entries.emplace_back(std::move(utilityKey), std::move(utility));

    auto function = std::make_unique<SCMSharedFunctionData>("f_shared", "f_shared.c");
    function->setName("f_shared");
    entries.emplace_back(std::make_unique<SCMSharedFunctionIdentity>(1, 2, 3, 4),
                         std::move(function));

    auto type = std::make_unique<SCMSharedTypesData>("T_bus");
    type->setKind("SCM_SHARED_TYPES");
    type->setDefinition("typedef struct { int a; } T_bus;");
    type->setDependencies("int32_T");
    entries.emplace_back(std::make_unique<SCMSharedTypesIdentity>(5, 6, 7, 8), std::move(type));
    entries.emplace_back(std::make_unique<SCMGenericIdentity>(SCM_OTHER, "generic"),
                         std::make_unique<SCMGenericData>("\xff\xfe bytes"));

    auto data = std::make_unique<SCMSharedData>("g_data");
    data->setKind("SCM_SHARED_DATA_DEFINITION");
    data->setCscName("ExportedGlobal");
    data->setMemSecPrePragma(-3);
    data->setPackageName(std::string("pkg\0with nul", 12));
    entries.emplace_back(std::make_unique<SCMSharedDataIdentity>(9, 9, 9, 9), std::move(data));

    auto constant = std::make_unique<SCMSharedConstantsData>("K_gain");
    constant->setInitialString("2.5");
    constant->setDoUpdate(true);
    constant->setDataType("double");
    entries.emplace_back(std::make_unique<SCMSharedConstantsIdentity>(0xFFFFFFFFu, 0, 1, 2),
                         std::move(constant));

    std::string expected;
    {
        SharedCodeManagerInterface registry(path());
        for (auto& [identity, record] : entries) {
            ASSERT_EQ(registry.registerDataInTransaction(identity.get(), record.get()),
                      IS_REGISTERED);
            expected += identity->getTypeString() + " " + encoded(identity.get()) + " " +
                        encoded(record.get()) + "\n";
        }
    }
    EXPECT_EQ(scm_test::registryDump(path()), expected);
    SharedCodeManagerInterface reopened(path());
    for (auto& [identity, record] : entries) {
        std::unique_ptr<SCMData> byKey(reopened.retrieveData(identity.get()));
        ASSERT_NE(byKey, nullptr);
        EXPECT_EQ(encoded(byKey.get()), encoded(record.get()));
    }
}

}  // namespace
