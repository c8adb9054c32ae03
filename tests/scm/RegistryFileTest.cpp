// The registry on a real dictionary file: create-or-merge, the write cache, transactions, failed
// opens, and round trips of every category through close and reopen.
#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"
#include "support/TestRegistry.hpp"
#include "tv/TvFeature.hpp"
#include "vrex/Utf16.hpp"

namespace {

using namespace SCM;
using Names = std::vector<std::string>;

// The whole-object text of a library object: equal texts mean equal class and fields.
std::string encoded(tv::mi::Handle* object) { return kobj::encodeObject(object->toScriptValue()); }

class RegistryFile : public ::testing::Test {
protected:
    void SetUp() override { TvFeature::setValue("UseVrexCache", 1); }
    void TearDown() override { TvFeature::setValue("UseVrexCache", 1); }
    const std::string& path() const { return registry_.location(); }

    scm_test::TestRegistry registry_;
};

// Null arguments register nothing on either road; an invalid category goes to the marker class.
TEST_F(RegistryFile, NullArgumentsAreEmptyAndAnInvalidCategoryIsStoredUnderTheMarkerClass) {
    SharedCodeManagerInterface registry(path());
    SCMGenericIdentity key(static_cast<SCMTypes>(9), "odd");
    EXPECT_EQ(registry.registerDataInTransaction(&key, nullptr), IS_EMPTY);
    EXPECT_EQ(registry.registerData(nullptr, nullptr), IS_EMPTY);
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
    EXPECT_EQ(std::count(outcomes.begin(), outcomes.end(), WILL_BE_REGISTERED), 51);
    EXPECT_EQ(outcomes[50], IS_REGISTERED);
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
    EXPECT_FALSE(stored == nullptr || registry.getDataAdapter()->isBackendOwned(stored.get()));
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
    const std::vector<SCMData*> records = reopened.retrieveAllData(SCM_OTHER);
    ASSERT_EQ(records.size(), 1u);
    const std::unique_ptr<SCMData> record(records[0]);
    Names names = static_cast<SCMMultiWordFcnData&>(*record).getFcnNames();
    std::sort(names.begin(), names.end());
    EXPECT_EQ(names, (Names{"a", "b", "c"}));
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
// objects. Entries are given as whole-object encodings (texts of every byte, extreme integers).
TEST_F(RegistryFile, EveryCategoryRoundTripsThroughTheFile) {
    const std::string prefix = "{\"class\":\"SharedCodeManager.";
    const std::vector<std::pair<std::string, std::string>> entries = {
        {"BasicUtilityIdentity\",\"UtilityIdentifier\":\"rt_sat\",\"SymbolString\":\"sat\",\"MaximumIdentifierLength\":31}",
         "BasicUtilityData\",\"Name\":\"rt_sat\",\"Identifier\":\"rt_sat\",\"Multiword\":true,"
         "\"ModelNames\":[\"m1\",\"m2\"],\"Children\":[\"rt_min\",\"rt_max\"],\"Traceability\":[\"m1:a/b\",\"m2:c\"]}"},
        {"SharedFunctionIdentity\",\"ChecksumElement1\":1,\"ChecksumElement4\":4}",
         "SharedFunctionData\",\"Name\":\"f\",\"FunctionName\":\"f\",\"FileName\":\"f.c\"}"},
        {"SharedTypesIdentity\",\"ChecksumElement2\":6}",
         "SharedTypesData\",\"Name\":\"T\",\"Kind\":\"SCM_SHARED_TYPES\",\"Definition\":\"typedef int T;\"}"},
        {"GenericIdentity\",\"Type\":\"SCM_OTHER\",\"DesiredIdentifier\":\"generic\"}",
         "GenericData\",\"Identifier\":\"\\u00ff\\u00fe bytes\\u0000\"}"},
        {"SharedDataIdentity\",\"ChecksumElement3\":9}",
         "SharedData\",\"Name\":\"g\",\"CSCName\":\"Exported\",\"MemSecPrePragma\":-2147483648}"},
        {"SharedConstantsIdentity\",\"ChecksumElement1\":4294967295}",
         "SharedConstantsData\",\"Name\":\"K\",\"InitialString\":\"2.5\",\"GenerateConstant\":true}"},
    };
    std::string expected;
    {
        SharedCodeManagerInterface registry(path());
        for (const auto& [identityText, recordText] : entries) {
            std::unique_ptr<SCMIdentity> identity(static_cast<SCMIdentity*>(tv::mi::Handle::releaseFromScriptValue(
                kobj::decodeObject(prefix + identityText), "SharedCodeManager.Identity")));
            std::unique_ptr<SCMData> record(static_cast<SCMData*>(tv::mi::Handle::releaseFromScriptValue(
                kobj::decodeObject(prefix + recordText), "SharedCodeManager.Data")));
            ASSERT_TRUE(identity && record) << identityText << recordText;
            ASSERT_EQ(registry.registerDataInTransaction(identity.get(), record.get()), IS_REGISTERED);
            expected += identity->getTypeString() + " " + encoded(identity.get()) + " " +
                        encoded(record.get()) + "\n";
        }
    }
    EXPECT_EQ(scm_test::registryDump(path()), expected);
}

}  // namespace
