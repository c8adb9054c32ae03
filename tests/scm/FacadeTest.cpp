// The registry facade and the category facades: the missing-store guard, the cache switch, the
// batch call, backend ownership, the name listings and the placeholder utility facades.
#include <gtest/gtest.h>

#include <stdexcept>

#include "shared_code_manager.hpp"
#include "support/LoggingDataAdapter.hpp"
#include "support/TestRegistry.hpp"
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

// A facade over the logging stand-in, which the facade owns.
template <typename Facade = SharedCodeManagerInterface>
struct Logged {
    explicit Logged(bool exists = true) : backend(new scm_test::LoggingDataAdapter(exists)) {
        facade.setDataAdapter(backend);
    }
    Facade facade;
    scm_test::LoggingDataAdapter* backend;
};

std::size_t storedCount(SharedCodeManagerInterface& facade, SCMTypes type) {
    return static_cast<SCMVrexDataAdapter*>(facade.getDataAdapter())->getAllChildren(type).size();
}

TEST(Facade, MissingStoreAnswersWithoutReachingTheBackend) {
    Logged<> f(false);
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
    f.facade.finalize();
    f.facade.retrieveIdentityAndDataForName(SCM_OTHER, "x");
    EXPECT_EQ(f.backend->calls, (Names{"finalize", "getIdentityAndDataFromName"}));

    SharedCodeManagerInterface none;  // no backend at all: nothing throws
    EXPECT_EQ(none.registerData(&identity, &data), IS_TRANSACTION_ERROR);
    EXPECT_EQ(none.finalize(), IS_TRANSACTION_ERROR);
    EXPECT_EQ(none.retrieveIdentityAndDataForName(SCM_OTHER, "x").second, nullptr);
}

TEST(Facade, CacheSwitchChoosesTheRoadOnEveryCall) {
    Logged<> f;
    SCMGenericIdentity identity(SCM_OTHER, "x");
    SCMGenericData data("x");
    const auto readsBefore = TvFeature::useCount("UseVrexCache");
    {
        CacheSwitch direct(0);
        EXPECT_EQ(f.facade.registerData(&identity, &data), IS_REGISTERED);
    }
    EXPECT_EQ(f.facade.registerData(&identity, &data), WILL_BE_REGISTERED);
    {
        CacheSwitch high(7);  // any value of 1 or more caches
        f.facade.registerData(&identity, &data);
    }
    EXPECT_EQ(f.backend->calls, (Names{"insertValueInTransaction", "cacheValue", "cacheValue"}));
    EXPECT_EQ(TvFeature::useCount("UseVrexCache"), readsBefore + 3);
}

TEST(Facade, OwnsItsBackendUntilReplacedOrDestroyed) {
    bool firstGone = false;
    bool secondGone = false;
    {
        SharedCodeManagerInterface facade;
        auto* first = new scm_test::LoggingDataAdapter(true, &firstGone);
        facade.setDataAdapter(first);
        facade.setDataAdapter(first);  // the same backend again: kept
        EXPECT_FALSE(firstGone);
        facade.setDataAdapter(new scm_test::LoggingDataAdapter(false, &secondGone));
        EXPECT_TRUE(firstGone && !secondGone);
    }
    EXPECT_TRUE(secondGone);
}

TEST(Facade, BatchRegistersEachPairUntilARecordIsMissing) {
    CacheSwitch direct(0);
    scm_test::TestRegistry registry;
    SharedCodeManagerInterface facade(registry.location());
    SCMGenericIdentity a(SCM_OTHER, "a"), b(SCM_OTHER, "b"), c(SCM_OTHER, "c");
    SCMGenericData da("a"), db("b"), extra("extra");
    std::vector<SCMIdentity*> identities{&a, &b};
    std::vector<SCMData*> records{&da, &db, &extra};
    EXPECT_EQ(facade.registerDataArray(&identities, &records), WILL_BE_REGISTERED);
    EXPECT_EQ(storedCount(facade, SCM_OTHER), 2u) << "the extra record is ignored";

    identities = {&c, &a};
    records = {&da};
    EXPECT_THROW(facade.registerDataArray(&identities, &records), std::out_of_range);
    EXPECT_EQ(storedCount(facade, SCM_OTHER), 3u) << "the pair before stays registered";
}

TEST(CategoryFacades, NameListingsKeepStoreOrderAndDuplicates) {
    CacheSwitch direct(0);
    scm_test::TestRegistry registry;
    SharedFunctionInterface functions(registry.location());
    SCMSharedFunctionIdentity k1(1, 0, 0, 0), k2(2, 0, 0, 0), k3(3, 0, 0, 0);
    SCMSharedFunctionData f1("f", "a.c"), f2("f", "b.c"), g("g", "g.c");
    f1.setName("f");
    f2.setName("f");
    g.setName("g");
    functions.registerData(&k1, &f1);
    functions.registerData(&k2, &g);
    functions.registerData(&k3, &f2);
    EXPECT_EQ(functions.getAllFunctionNames(), (Names{"f", "g", "f"}));
    EXPECT_EQ(functions.registerSharedFunction(&k1, &g), "");  // the naming protocol is inert
    EXPECT_TRUE(SharedDataInterface(registry.location()).getAllDataNames().empty());
}

TEST(UtilityFacade, IdentifiersAreSortedAndUnique) {
    CacheSwitch direct(0);
    scm_test::TestRegistry registry;
    SharedUtilityInterface facade(registry.location());
    const char* identifiers[] = {"b", "a", "b"};
    for (int i = 0; i < 3; ++i) {
        SCMBasicUtilityIdentity key("u" + std::to_string(i));
        SCMBasicUtilityData record("rt_u" + std::to_string(i), identifiers[i]);
        EXPECT_EQ(facade.registerData(&key, &record), IS_REGISTERED);
    }
    EXPECT_EQ(facade.getAllIdentifiers(), (Names{"a", "b"}));
}

TEST(UtilityFacade, NamingProtocolIsInertAndLookupUsesTheUtilityCategory) {
    Logged<SharedUtilityInterface> f;
    SCMBasicUtilityIdentity key("rt_foo");
    SCMBasicUtilityData record("rt_foo", true, false);
    EXPECT_EQ(f.facade.registerUtilityIdentifier(&key, &record), "");
    EXPECT_EQ(f.facade.getRegisteredUtilityName("rt_foo", false, false), "");
    f.facade.getIdentityAndDataForName("rt_foo");
    EXPECT_EQ(f.backend->calls, Names{"getIdentityAndDataFromName"});
}

TEST(NullUtilityFacade, AcceptsEverythingAndRemembersNothing) {
    SharedUtilityNullInterface facade;
    SCMBasicUtilityIdentity key("rt_foo");
    SCMBasicUtilityData record("rt_foo");
    std::vector<SCMIdentity*> identities{&key};
    std::vector<SCMData*> records{&record};

    EXPECT_EQ(facade.getRegisteredUtilityName("rt_foo", false, false), "rt_foo");
    EXPECT_EQ(facade.registerData(&key, &record), IS_REGISTERED);
    EXPECT_EQ(facade.registerDataInTransaction(&key, &record), IS_REGISTERED);
    EXPECT_EQ(facade.retrieveData(&key), nullptr);
    EXPECT_TRUE(facade.retrieveAllIdentities(SCM_UTILITIES).empty());
    EXPECT_TRUE(facade.retrieveAllData(SCM_UTILITIES).empty());
    // Without a backend the rest answers as a missing store does.
    EXPECT_EQ(facade.registerDataArray(&identities, &records), IS_TRANSACTION_ERROR);
    EXPECT_EQ(facade.finalize(), IS_TRANSACTION_ERROR);
    EXPECT_EQ(facade.getIdentityAndDataForName("rt_foo").second, nullptr);
}

}  // namespace
