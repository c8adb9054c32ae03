// The registry facade and the category facades over an in-memory backend: the guard, both
// registration roads, the batch call, the listings and the placeholder utility facade.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "shared_code_manager.hpp"
#include "support/MemoryDataAdapter.hpp"
#include "tv/TvFeature.hpp"

namespace {

using namespace SCM;
using Names = std::vector<std::string>;

// Sets "UseVrexCache" for one test and puts the default back afterwards.
class CacheSwitch {
public:
    explicit CacheSwitch(int value) { TvFeature::setValue("UseVrexCache", value); }
    ~CacheSwitch() { TvFeature::setValue("UseVrexCache", 1); }
};

template <typename Facade = SharedCodeManagerInterface>
struct Fixture {
    explicit Fixture(bool exists = true) : backend(new scmtest::MemoryDataAdapter(exists)) {
        facade.setDataAdapter(backend);
    }
    Facade facade;
    scmtest::MemoryDataAdapter* backend;  // owned by the facade
};

template <typename T>
void deleteAll(std::vector<T*>& objects) {
    for (T* object : objects) delete object;
    objects.clear();
}

TEST(Facade, MissingStoreAnswersWithoutReachingTheBackend) {
    Fixture<> f(false);
    SCMGenericIdentity identity(SCM_OTHER, "x");
    SCMGenericData data("x");
    std::vector<SCMIdentity*> identities{&identity};
    std::vector<SCMData*> records{&data};

    EXPECT_EQ(f.facade.registerData(&identity, &data), IS_TRANSACTION_ERROR);
    EXPECT_EQ(f.facade.registerDataInTransaction(&identity, &data), IS_TRANSACTION_ERROR);
    EXPECT_EQ(f.facade.registerDataArray(&identities, &records), IS_TRANSACTION_ERROR);
    EXPECT_EQ(f.facade.retrieveData(&identity), nullptr);
    EXPECT_TRUE(f.facade.retrieveAllIdentities(SCM_OTHER).empty());
    EXPECT_TRUE(f.facade.retrieveAllData(SCM_OTHER).empty());
    EXPECT_EQ(f.facade.retrieveDataForName(SCM_OTHER, "x"), nullptr);
    EXPECT_EQ(f.facade.retrieveIdentityForName(SCM_OTHER, "x"), nullptr);
    EXPECT_TRUE(f.backend->calls.empty());

    // These two are not guarded: the backend answers them itself.
    EXPECT_EQ(f.facade.finalize(), IS_REGISTERED);
    f.facade.retrieveIdentityAndDataForName(SCM_OTHER, "x");
    EXPECT_EQ(f.backend->calls, (Names{"finalize", "getIdentityAndDataFromName"}));
}

TEST(Facade, WithoutABackendNothingThrows) {
    SharedCodeManagerInterface facade;
    SCMGenericIdentity identity(SCM_OTHER, "x");
    SCMGenericData data("x");
    EXPECT_EQ(facade.getDataAdapter(), nullptr);
    EXPECT_EQ(facade.registerData(&identity, &data), IS_TRANSACTION_ERROR);
    EXPECT_EQ(facade.finalize(), IS_TRANSACTION_ERROR);
    const SCMIdentityDataPair none = facade.retrieveIdentityAndDataForName(SCM_OTHER, "x");
    EXPECT_EQ(none.first, nullptr);
    EXPECT_EQ(none.second, nullptr);
}

TEST(Facade, CacheSwitchChoosesTheRoadOnEveryCall) {
    Fixture<> f;
    SCMGenericIdentity identity(SCM_OTHER, "x");
    SCMGenericData data("x");
    const auto readsBefore = TvFeature::useCount("UseVrexCache");
    {
        CacheSwitch direct(0);
        EXPECT_EQ(f.facade.registerData(&identity, &data), IS_REGISTERED);
        EXPECT_EQ(f.facade.registerData(&identity, &data), IS_PRESENT_UPDATE);
    }
    EXPECT_EQ(f.facade.registerData(&identity, &data), WILL_BE_REGISTERED);
    {
        CacheSwitch high(7);  // any value of 1 or more caches
        EXPECT_EQ(f.facade.registerData(&identity, &data), WILL_BE_REGISTERED);
    }
    EXPECT_EQ(f.backend->calls, (Names{"insertValueInTransaction", "insertValueInTransaction",
                                       "cacheValue", "cacheValue"}));
    EXPECT_EQ(TvFeature::useCount("UseVrexCache"), readsBefore + 4);
}

TEST(Facade, DirectRoadReportsTheBackendsOutcome) {
    Fixture<> f;
    SCMSharedFunctionIdentity key(1, 2, 3, 4);
    SCMSharedFunctionData first("f", "f.c");
    SCMSharedFunctionData clash("g", "g.c");
    EXPECT_EQ(f.facade.registerDataInTransaction(&key, &first), IS_REGISTERED);
    EXPECT_EQ(f.facade.registerDataInTransaction(&key, &clash), IS_PRESENT_ERROR);
    EXPECT_EQ(f.facade.registerDataInTransaction(&key, nullptr), IS_EMPTY);
    EXPECT_EQ(f.backend->storedCount(), 1u);

    std::unique_ptr<SCMData> stored(f.facade.retrieveData(&key));
    ASSERT_NE(stored, nullptr);
    EXPECT_EQ(static_cast<SCMSharedFunctionData&>(*stored).getFunctionName(), "f");
}

TEST(Facade, BatchRegistersEachPairThroughRegisterData) {
    CacheSwitch direct(0);
    Fixture<> f;
    SCMGenericIdentity a(SCM_OTHER, "a"), b(SCM_OTHER, "b");
    SCMGenericData da("a"), db("b"), extra("extra");
    std::vector<SCMIdentity*> identities{&a, &b};
    std::vector<SCMData*> records{&da, &db, &extra};
    EXPECT_EQ(f.facade.registerDataArray(&identities, &records), WILL_BE_REGISTERED);
    EXPECT_EQ(f.backend->storedCount(), 2u);  // the extra record is ignored
}

TEST(Facade, BatchWithAnEmptyIdentityListTouchesNothing) {
    Fixture<> f;
    std::vector<SCMIdentity*> none;
    EXPECT_EQ(f.facade.registerDataArray(&none, nullptr), WILL_BE_REGISTERED);
    EXPECT_TRUE(f.backend->calls.empty());
}

TEST(Facade, BatchWithTooFewRecordsRegistersThenThrows) {
    CacheSwitch direct(0);
    Fixture<> f;
    SCMGenericIdentity a(SCM_OTHER, "a"), b(SCM_OTHER, "b");
    SCMGenericData da("a");
    std::vector<SCMIdentity*> identities{&a, &b};
    std::vector<SCMData*> records{&da};
    EXPECT_THROW(f.facade.registerDataArray(&identities, &records), std::out_of_range);
    EXPECT_EQ(f.backend->storedCount(), 1u);  // the first pair stays registered
}

TEST(Facade, RetrievalForwardsAndHandsOutFreshObjects) {
    CacheSwitch direct(0);
    Fixture<> f;
    SCMGenericIdentity key(SCM_SHARED_TYPES, "k");
    SCMSharedTypesData record("T");
    f.facade.registerData(&key, &record);

    auto identities = f.facade.retrieveAllIdentities(SCM_SHARED_TYPES);
    auto records = f.facade.retrieveAllData(SCM_SHARED_TYPES);
    ASSERT_EQ(identities.size(), 1u);
    ASSERT_EQ(records.size(), 1u);
    EXPECT_EQ(identities[0]->getChecksum(), key.getChecksum());
    EXPECT_EQ(records[0]->getName(), "T");
    EXPECT_TRUE(f.facade.retrieveAllData(SCM_SHARED_DATA).empty());
    deleteAll(identities);
    deleteAll(records);

    std::unique_ptr<SCMData> byName(f.facade.retrieveDataForName(SCM_SHARED_TYPES, "T"));
    std::unique_ptr<SCMIdentity> idByName(f.facade.retrieveIdentityForName(SCM_SHARED_TYPES, "T"));
    ASSERT_NE(byName, nullptr);
    ASSERT_NE(idByName, nullptr);
    EXPECT_EQ(f.facade.retrieveDataForName(SCM_SHARED_DATA, "T"), nullptr);
}

TEST(Facade, SetDataAdapterReplacesAndOwnsTheBackend) {
    SharedCodeManagerInterface facade;
    auto* first = new scmtest::MemoryDataAdapter();
    facade.setDataAdapter(first);
    facade.setDataAdapter(first);  // the same backend again: kept, not deleted
    EXPECT_EQ(facade.getDataAdapter(), first);
    facade.setDataAdapter(new scmtest::MemoryDataAdapter(false));  // the first one is deleted
    EXPECT_FALSE(facade.getDataAdapter()->doesExist());
}

TEST(CategoryFacades, PublishedNames) {
    EXPECT_STREQ(SharedCodeManagerInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedCodeManagerInterface");
    EXPECT_STREQ(SharedFunctionInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedFunctionInterface");
    EXPECT_STREQ(SharedTypesInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedTypesInterface");
    EXPECT_STREQ(SharedDataInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedDataInterface");
    EXPECT_STREQ(SharedConstantsInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedConstantsInterface");
    EXPECT_STREQ(SharedUtilityInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedUtilityInterface");
    EXPECT_STREQ(SharedUtilityNullInterface().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedUtilityInterface");
}

TEST(CategoryFacades, NameListingsKeepStoreOrderAndDuplicates) {
    CacheSwitch direct(0);
    Fixture<SharedFunctionInterface> functions;
    SCMSharedFunctionIdentity k1(1, 0, 0, 0), k2(2, 0, 0, 0), k3(3, 0, 0, 0);
    SCMSharedFunctionData f1("f", "a.c"), f2("f", "b.c"), g("g", "g.c");
    f1.setName("f");
    f2.setName("f");
    g.setName("g");
    functions.facade.registerData(&k1, &f1);
    functions.facade.registerData(&k2, &g);
    functions.facade.registerData(&k3, &f2);
    EXPECT_EQ(functions.facade.getAllFunctionNames(), (Names{"f", "g", "f"}));
    EXPECT_EQ(functions.facade.registerSharedFunction(&k1, &f1), "");
    EXPECT_EQ(functions.backend->storedCount(), 3u);

    Fixture<SharedConstantsInterface> constants;
    SCMSharedConstantsIdentity c1(1, 0, 0, 0);
    SCMSharedConstantsData pi("PI");
    constants.facade.registerData(&c1, &pi);
    EXPECT_EQ(constants.facade.getAllConstantsNames(), Names{"PI"});

    Fixture<SharedTypesInterface> types;
    Fixture<SharedDataInterface> data;
    EXPECT_TRUE(types.facade.getAllTypesNames().empty());
    EXPECT_TRUE(data.facade.getAllDataNames().empty());
}

TEST(UtilityFacade, IdentifiersAreSortedAndUnique) {
    CacheSwitch direct(0);
    Fixture<SharedUtilityInterface> f;
    const char* identifiers[] = {"b", "a", "b"};
    for (int i = 0; i < 3; ++i) {
        SCMBasicUtilityIdentity key("u" + std::to_string(i));
        SCMBasicUtilityData record("rt_u" + std::to_string(i), identifiers[i]);
        EXPECT_EQ(f.facade.registerData(&key, &record), IS_REGISTERED);
    }
    EXPECT_EQ(f.facade.getAllIdentifiers(), (Names{"a", "b"}));
}

TEST(UtilityFacade, NamingProtocolIsInertAndLookupUsesTheUtilityCategory) {
    Fixture<SharedUtilityInterface> f;
    SCMBasicUtilityIdentity key("rt_foo");
    SCMBasicUtilityData record("rt_foo", true, false);
    EXPECT_EQ(f.facade.registerUtilityIdentifier(&key, &record), "");
    EXPECT_EQ(f.facade.getRegisteredUtilityName("rt_foo", false, false), "");
    EXPECT_EQ(f.backend->storedCount(), 0u);
    f.facade.getIdentityAndDataForName("rt_foo");
    EXPECT_EQ(f.backend->calls, Names{"getIdentityAndDataFromName"});
}

TEST(NullUtilityFacade, AcceptsEverythingAndRemembersNothing) {
    SharedUtilityNullInterface facade;
    SCMBasicUtilityIdentity key("rt_foo");
    SCMBasicUtilityData record("rt_foo");
    std::vector<SCMIdentity*> identities{&key};
    std::vector<SCMData*> records{&record};

    EXPECT_EQ(facade.getDataAdapter(), nullptr);
    EXPECT_EQ(facade.getRegisteredUtilityName("rt_foo", false, false), "rt_foo");
    EXPECT_EQ(facade.registerData(&key, &record), IS_REGISTERED);
    EXPECT_EQ(facade.registerDataInTransaction(&key, &record), IS_REGISTERED);
    EXPECT_EQ(facade.retrieveData(&key), nullptr);
    EXPECT_TRUE(facade.retrieveAllData(SCM_UTILITIES).empty());
    EXPECT_TRUE(facade.retrieveAllIdentities(SCM_UTILITIES).empty());
    EXPECT_TRUE(facade.getAllIdentifiers().empty());
    // Without a backend the rest answers as a missing store does.
    EXPECT_EQ(facade.registerDataArray(&identities, &records), IS_TRANSACTION_ERROR);
    EXPECT_EQ(facade.finalize(), IS_TRANSACTION_ERROR);
    EXPECT_EQ(facade.retrieveDataForName(SCM_UTILITIES, "rt_foo"), nullptr);
    EXPECT_EQ(facade.getIdentityAndDataForName("rt_foo").second, nullptr);
}

}  // namespace
