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

// The environment overrides the default (a malformed value is ignored); code overrides both,
// also when it sets the value before the definition.
TEST(TvFeature, EnvironmentOverridesTheDefaultAndCodeOverridesBoth) {
    setenv(TvFeature::environmentVariable("TestFromEnv").c_str(), "0", 1);
    setenv(TvFeature::environmentVariable("TestBadEnv").c_str(), "yes", 1);
    TvFeature fromEnvironment("TestFromEnv", "group", "a test switch", 1, 0, __FILE__);
    TvFeature malformed("TestBadEnv", "group", "a test switch", 1, 0, __FILE__);
    EXPECT_EQ(fromEnvironment.value() * 10 + malformed.value(), 1);
    TvFeature::setValue("TestFromEnv", 5);
    TvFeature::setValue("TestSetEarly", 9);
    TvFeature early("TestSetEarly", "group", "a test switch", 1, 0, __FILE__);
    EXPECT_EQ(fromEnvironment.value() * 10 + early.value(), 59);
}

}  // namespace
