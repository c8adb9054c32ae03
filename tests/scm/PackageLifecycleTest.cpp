#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SCMModuleEntry.hpp"
#include "kobj/Allocator.hpp"
#include "kobj/COSPackage.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/ObjectAccess.hpp"

// The entry points act once per load, so the whole life of the package is one test, in a program
// of its own.
namespace {

kobj::ClassRegistry& registry() { return kobj::ClassRegistry::instance(); }

TEST(PackageLifecycleTest, InitialiseAndTerminateEachActOnceAndClassesPublishOnFirstUse) {
    const std::size_t blocksAtLoad = kobj::cosLiveBlocks();
    EXPECT_FALSE(kobj::COSPackage::getPackageInterface("SharedCodeManager"));

    HxInitialize_shared_code_manager();
    HxInitialize_shared_code_manager();
    EXPECT_EQ(kobj::COSPackage::packageNames(), std::vector<std::string>{"SharedCodeManager"});
    EXPECT_EQ(kobj::cosLiveBlocks(), blocksAtLoad + 1)
        << "one package; its class list not loaded yet";
    EXPECT_FALSE(registry().isPublished("SharedCodeManager.Identity"));

    kobj::construct("SharedCodeManager.BasicUtilityIdentity", {qaArray::fromText("rt_foo")});
    EXPECT_TRUE(registry().isPublished("SharedCodeManager.BasicUtilityIdentity"));
    EXPECT_FALSE(registry().isPublished("SharedCodeManager.GenericIdentity"));
    EXPECT_EQ(kobj::cosLiveBlocks(), blocksAtLoad + 24) << "the package and its 23 class infos";

    HxTerminate_shared_code_manager();
    EXPECT_EQ(registry().findClass("SharedCodeManager.Identity"), nullptr);
    EXPECT_EQ(kobj::cosLiveBlocks(), blocksAtLoad) << "released for the public client and freed";

    HxTerminate_shared_code_manager();
    HxInitialize_shared_code_manager();
    EXPECT_TRUE(kobj::COSPackage::packageNames().empty()) << "no second registration in one load";
}

}  // namespace
