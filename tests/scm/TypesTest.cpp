// Categories: their texts and fallbacks, and the lenient name lookup; outcome texts.
#include <gtest/gtest.h>

#include "SCMGenericIdentity.hpp"
#include "SCMRegistry.hpp"
#include "SCMTypes.hpp"

namespace {

using namespace SCM;

TEST(Categories, TextOfEveryValueAndTheTwoFallbacks) {
    const char* names[] = {"SCM_UTILITIES", "SCM_SHARED_FUNCTIONS", "SCM_SHARED_TYPES", "SCM_OTHER",
                           "SCM_NUM",       "SCM_SHARED_DATA",      "SCM_SHARED_CONSTANTS"};
    for (int value = 0; value <= 6; ++value) {
        EXPECT_EQ(scmTypeToString(static_cast<SCMTypes>(value)), names[value]);
        EXPECT_EQ(scmTypeToPropertyText(static_cast<SCMTypes>(value)), names[value]);
    }
    // Out of range: readable "SCM_NUM" for storage, empty for the script property.
    for (int value : {-1, 7, 9, 1000}) {
        EXPECT_EQ(scmTypeToString(static_cast<SCMTypes>(value)), "SCM_NUM");
        EXPECT_EQ(scmTypeToPropertyText(static_cast<SCMTypes>(value)), "");
    }
    EXPECT_EQ(SCMGenericIdentity(static_cast<SCMTypes>(42)).getTypeString(), "SCM_NUM");
    EXPECT_EQ(scmRegistryToString(IS_PRESENT_ERROR), "IS_PRESENT_ERROR");
    EXPECT_EQ(scmRegistryToString(static_cast<SCMRegistry>(42)), "");  // an outcome has no fallback
}

TEST(Categories, NameLookupIsExactAndUnknownNamesMeanUtilities) {
    EXPECT_EQ(scmTypeFromString("SCM_SHARED_CONSTANTS"), SCM_SHARED_CONSTANTS);

    const std::size_t before = scmTypeNameTableSize();
    // Each new unknown name is remembered once; asking again does not grow the table.
    for (const char* name : {"scm_utilities", "", " SCM_SHARED_DATA", "SHARED_DATA", "SHARED_DATA"}) {
        EXPECT_EQ(scmTypeFromString(name), SCM_UTILITIES) << name;
    }
    EXPECT_EQ(scmTypeNameTableSize(), before + 4);
}

}  // namespace
