#include <gtest/gtest.h>

#include <memory>

#include "SCMModuleEntry.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectValues.hpp"
#include "shared_code_manager.hpp"
#include "support/TestRegistry.hpp"
#include "tv/TvFeature.hpp"

namespace {

using namespace SCM;

qaArray text(const std::string& value) { return qaArray::fromText(value); }
// The library object of a value of `className`, borrowed.
template <class T>
T* objectOf(const qaArray& value, const char* className) {
    return dynamic_cast<T*>(tv::mi::Handle::fromScriptValue(value, className));
}

class PublishingTest : public ::testing::Test {
protected:
    void SetUp() override { HxInitialize_shared_code_manager(); }
};

TEST_F(PublishingTest, ChecksumIsSettableAndCategoryTravelsAsText) {
    qaArray generic = kobj::construct("SharedCodeManager.GenericIdentity",
                                      {text("SCM_SHARED_CONSTANTS"), text("x")});
    kobj::setProperty(generic, "Checksum", text("stored"));
    EXPECT_EQ(kobj::getProperty(generic, "Checksum").text(), "stored");
    EXPECT_EQ(kobj::getProperty(generic, "Type").text(), "SCM_SHARED_CONSTANTS");
    kobj::setProperty(generic, "Type", text("SCM_NUM"));
    EXPECT_EQ(kobj::callMethod(generic, "getType", {}).text(), "SCM_NUM");
    kobj::setProperty(generic, "Type", text("scm_shared_data"));
    EXPECT_EQ(kobj::getProperty(generic, "Type").text(), "SCM_UTILITIES")
        << "an unknown name means SCM_UTILITIES";

    objectOf<SCMIdentity>(generic, "SharedCodeManager.Identity")->setType(static_cast<SCMTypes>(9));
    EXPECT_EQ(kobj::getProperty(generic, "Type").text(), "");
    EXPECT_EQ(kobj::callMethod(generic, "getType", {}).text(), "SCM_NUM");
}

// A facade driven through its published methods, on a registry file.
class PublishedFacadeTest : public PublishingTest {
protected:
    void SetUp() override {
        PublishingTest::SetUp();
        TvFeature::setValue("UseVrexCache", 1);
    }
    void TearDown() override { TvFeature::setValue("UseVrexCache", 1); }

    SCMVrexDataAdapter& backend() { return static_cast<SCMVrexDataAdapter&>(*facade_.getDataAdapter()); }

    qaArray call(const std::string& method, const std::vector<qaArray>& arguments) {
        return kobj::callMethod(facade_.toScriptValue(), method, arguments);
    }

    static qaArray utilityIdentity(const std::string& identifier) {
        return kobj::construct("SharedCodeManager.BasicUtilityIdentity", {text(identifier)});
    }
    static qaArray utilityData(const std::string& name, const std::string& identifier) {
        qaArray data =
            kobj::construct("SharedCodeManager.BasicUtilityData", {text(name), text(identifier)});
        kobj::setProperty(data, "Name", text(name));
        return data;
    }

    scm_test::TestRegistry registry_;
    SharedConstantsInterface facade_{registry_.location()};
};

TEST_F(PublishedFacadeTest, RetrievedObjectsAreFreshAndOwnedUnderTheirConcreteClass) {
    const qaArray identity = utilityIdentity("a");
    call("registerData", {identity, utilityData("a", "id")});
    const qaArray found = call("retrieveData", {identity});
    ASSERT_EQ(found.numel(), 1u);
    EXPECT_EQ(found.className(), "SharedCodeManager.BasicUtilityData");
    EXPECT_EQ(kobj::getProperty(found, "Identifier").text(), "id");
    std::unique_ptr<tv::mi::Handle> taken(
        tv::mi::Handle::releaseFromScriptValue(found, "SharedCodeManager.Data"));
    EXPECT_NE(taken, nullptr);

    const qaArray missing = call("retrieveData", {utilityIdentity("nothing")});
    EXPECT_EQ(missing.numel(), 0u);
    EXPECT_EQ(missing.className(), "SharedCodeManager.Data");
}

TEST_F(PublishedFacadeTest, DataByNameFromTheWriteCacheReachesTheScriptAsACopy) {
    call("registerDataUsingCaching", {utilityIdentity("a"), utilityData("cached", "id")});
    const qaArray found = call("retrieveDataForName", {text("SCM_UTILITIES"), text("cached")});
    ASSERT_EQ(found.numel(), 1u);
    EXPECT_FALSE(backend().isBackendOwned(static_cast<SCMData*>(found.object(0))))
        << "the script must never own the cache's own copy";
    call("finalize", {});  // empties the cache; the script's copy stays valid
    EXPECT_EQ(kobj::getProperty(found, "Name").text(), "cached");
    EXPECT_EQ(call("retrieveDataForName", {text("SCM_UTILITIES"), text("cached")}).numel(), 1u);
}

// A facade made by a script on a file that cannot be a registry answers as for a missing store.
TEST(PublishedFacadeWithoutStoreTest, AnswersAsForAMissingStore) {
    HxInitialize_shared_code_manager();
    const qaArray identity = kobj::construct("SharedCodeManager.BasicUtilityIdentity", {text("a")});
    const qaArray data = kobj::construct("SharedCodeManager.BasicUtilityData", {});
    const qaArray opened = kobj::construct("SharedCodeManager.SharedFunctionInterface",
                                           {text("/nonexistent-directory/registry.sldd")});
    EXPECT_EQ(opened.className(), "SharedCodeManager.SharedFunctionInterface");
    EXPECT_EQ(kobj::callMethod(opened, "registerDataUsingCaching", {identity, data}).text(),
              "IS_TRANSACTION_ERROR");
}

}  // namespace
