// Identities: the worked checksum of every identity class, the lazy checksum, and which changes
// make it recompute.
#include <gtest/gtest.h>

#include <functional>
#include <memory>

#include "SCMBasicUtilityIdentity.hpp"
#include "SCMGenericIdentity.hpp"
#include "SCMSharedConstantsIdentity.hpp"
#include "SCMSharedDataIdentity.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "SCMSharedTypesIdentity.hpp"

namespace {

using namespace SCM;

// Worked values: MD5 of the fed bytes written in base 62, least significant digit first.
const char* const kEmptyText = "UZNV6GSDjNHqUjgyPa3PcG";  // nothing fed
const char* const kAbc = "OGYSglrIy4jPHI0kduetXE";        // "abc"
const char* const kRtFoo = "dGfL8aBULDXcmtIhYfhCcE";      // "rt_foo"
const char* const kRtFooSymbol = "CC3DRqMXZn6KJqqTPaQNvG";  // "rt_foo" "rtfoo"
const char* const kRtFooSymbol31 = "b93dUxijR9eIg7SpoIgQyF";  // "rt_foo" "rtfoo" 31 (LE int32)
const char* const kOneToFour = "U4NdP7g6UUORzSSeCh2CSC";  // 1, 2, 3, 4 as LE uint32
const char* const kZeros = "r0D0lO5YFYuzQLWx4FCVRC";
const char* const kFourToOne = "pfVKehqezhBQjR7e9BMs9C";
const char* const kHighElements = "S5nq1GlH6NRgcVzsrmUhIB";  // 0xFFFFFFFF, 0, 1, 2 (LE uint32)

SCMBasicUtilityIdentity* utility(const char* identifier, const char* symbol, int length,
                                 bool includeLength) {
    auto* identity = new SCMBasicUtilityIdentity(identifier);
    identity->setSymbolString(symbol);
    identity->setMaxIdLength(length);
    identity->setIncludeMaxIdLength(includeLength);
    return identity;
}

template <typename T>
std::function<SCMIdentity*()> elements(unsigned a, unsigned b, unsigned c, unsigned d) {
    return [=] { return new T(a, b, c, d); };
}

struct GoldenRow {
    const char* what;
    std::function<SCMIdentity*()> make;
    SCMTypes category;
    const char* checksum;
};

const GoldenRow kGolden[] = {
    {"utility default", [] { return new SCMBasicUtilityIdentity(); }, SCM_UTILITIES, kEmptyText},
    {"utility plain", [] { return new SCMBasicUtilityIdentity("rt_foo"); }, SCM_UTILITIES, kRtFoo},
    {"length without symbol", [] { return utility("rt_foo", "", 99, true); }, SCM_UTILITIES, kRtFoo},
    {"symbol, length off", [] { return utility("rt_foo", "rtfoo", 31, false); }, SCM_UTILITIES, kRtFooSymbol},
    {"symbol and length", [] { return utility("rt_foo", "rtfoo", 31, true); }, SCM_UTILITIES, kRtFooSymbol31},
    {"fields unseparated", [] { return utility("ab", "c", 0, false); }, SCM_UTILITIES, kAbc},
    {"identifier to the NUL", [] { return new SCMBasicUtilityIdentity(std::string("abc\0d", 5)); },
     SCM_UTILITIES, kAbc},
    {"generic empty", [] { return new SCMGenericIdentity(SCM_OTHER); }, SCM_OTHER, kEmptyText},
    {"generic functions", [] { return new SCMGenericIdentity(SCM_SHARED_FUNCTIONS, "abc"); },
     SCM_SHARED_FUNCTIONS, kAbc},
    {"generic to the NUL", [] { return new SCMGenericIdentity(SCM_OTHER, std::string("abc\0d", 5)); },
     SCM_OTHER, kAbc},
    {"function zeros", [] { return new SCMSharedFunctionIdentity(); }, SCM_SHARED_FUNCTIONS, kZeros},
    {"function", elements<SCMSharedFunctionIdentity>(1, 2, 3, 4), SCM_SHARED_FUNCTIONS, kOneToFour},
    {"function backwards", elements<SCMSharedFunctionIdentity>(4, 3, 2, 1), SCM_SHARED_FUNCTIONS, kFourToOne},
    {"types", elements<SCMSharedTypesIdentity>(1, 2, 3, 4), SCM_SHARED_TYPES, kOneToFour},
    {"data zeros", [] { return new SCMSharedDataIdentity(); }, SCM_SHARED_DATA, kZeros},
    {"constants high", elements<SCMSharedConstantsIdentity>(~0u, 0, 1, 2), SCM_SHARED_CONSTANTS, kHighElements},
};

TEST(Identity, GoldenChecksumsOfEveryClass) {
    for (const GoldenRow& row : kGolden) {
        std::unique_ptr<SCMIdentity> identity(row.make());
        EXPECT_EQ(identity->getChecksum(), row.checksum) << row.what;
        EXPECT_EQ(identity->getType(), row.category) << row.what;
        // A clone carries the fields, never the computed checksum.
        std::unique_ptr<SCMIdentity> clone(identity->clone());
        EXPECT_FALSE(clone->isComputedChecksum()) << row.what;
        EXPECT_EQ(clone->getType(), row.category) << row.what;
        EXPECT_EQ(clone->getChecksum(), row.checksum) << row.what;
    }
}

TEST(Identity, KeyFieldSettersRecomputeAndElementSettersDoNot) {
    SCMBasicUtilityIdentity identity("rt_foo");
    EXPECT_EQ(identity.getChecksum(), kRtFoo);
    identity.setChecksum("X");
    EXPECT_EQ(identity.getChecksum(), "X") << "a set checksum is taken as computed";
    identity.setSymbolString("rtfoo");
    EXPECT_NE(identity.getChecksum(), "X");
    identity.setIncludeMaxIdLength(false);
    EXPECT_EQ(identity.getChecksum(), kRtFooSymbol);
    identity.setIncludeMaxIdLength(true);
    identity.setMaxIdLength(31);
    EXPECT_EQ(identity.getChecksum(), kRtFooSymbol31);
    identity.setUtilityIdentifier("");
    identity.setSymbolString("");
    EXPECT_EQ(identity.getChecksum(), kEmptyText);

    // A copy carries the fields, not a forced checksum.
    identity.setUtilityIdentifier("rt_foo");
    identity.setChecksum("forced");
    SCMBasicUtilityIdentity copy(identity);
    EXPECT_FALSE(copy.isComputedChecksum());
    EXPECT_EQ(copy.getChecksum(), kRtFoo);

    SCMSharedFunctionIdentity elements(1, 2, 3, 4);
    EXPECT_EQ(elements.getChecksum(), kOneToFour);
    elements.setChecksumElement1(4);
    EXPECT_EQ(elements.getChecksum(), kOneToFour) << "element setters keep a computed checksum";

    SCMGenericIdentity generic(SCM_SHARED_FUNCTIONS, "f");
    generic.setChecksum("kept");
    generic.setType(SCM_SHARED_TYPES);
    EXPECT_EQ(generic.getChecksum(), "kept") << "the category is no key field";
    generic.setDesiredIdentifier("abc");
    EXPECT_EQ(generic.getChecksum(), kAbc);
}

}  // namespace
