// Feature switches: default, environment override, setting from code, use counting.
#include <gtest/gtest.h>

#include <cstdlib>

#include "tv/TvFeature.hpp"

namespace {

TEST(TvFeature, DefinitionGivesTheDefaultAndReadsAreCounted) {
    TvFeature feature("TestPlainDefault", "group", "a test switch", 3, 0, __FILE__);
    EXPECT_EQ(feature.value(), 3);
    EXPECT_EQ(TvFeature::valueOf("TestPlainDefault"), 3);
    EXPECT_EQ(TvFeature::useCount("TestPlainDefault"), 2u);
    EXPECT_EQ(TvFeature::valueOf("NeverDefined"), 0);
}

TEST(TvFeature, EnvironmentOverridesTheDefaultAndCodeOverridesBoth) {
    ASSERT_EQ(TvFeature::environmentVariable("TestFromEnv"), "TV_FEATURE_TestFromEnv");
    setenv("TV_FEATURE_TestFromEnv", "0", 1);
    TvFeature feature("TestFromEnv", "group", "a test switch", 1, 0, __FILE__);
    EXPECT_EQ(feature.value(), 0);
    TvFeature::setValue("TestFromEnv", 5);
    EXPECT_EQ(feature.value(), 5);
    unsetenv("TV_FEATURE_TestFromEnv");
}

TEST(TvFeature, MalformedEnvironmentValueIsIgnored) {
    setenv("TV_FEATURE_TestBadEnv", "yes", 1);
    TvFeature feature("TestBadEnv", "group", "a test switch", 1, 0, __FILE__);
    EXPECT_EQ(feature.value(), 1);
    unsetenv("TV_FEATURE_TestBadEnv");
}

TEST(TvFeature, ValueSetBeforeTheDefinitionIsKept) {
    TvFeature::setValue("TestSetEarly", 9);
    TvFeature feature("TestSetEarly", "group", "a test switch", 1, 0, __FILE__);
    EXPECT_EQ(feature.value(), 9);
    TvFeature again("TestSetEarly", "group", "defined twice", 2, 0, __FILE__);
    EXPECT_EQ(again.value(), 9);
}

}  // namespace
