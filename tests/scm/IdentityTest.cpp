// Identities: worked checksum values, the lazy checksum, and which changes make it recompute.
#include <gtest/gtest.h>

#include <memory>

#include "SCMBasicUtilityIdentity.hpp"
#include "SCMGenericIdentity.hpp"
#include "SCMSharedConstantsIdentity.hpp"
#include "SCMSharedDataIdentity.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "SCMSharedTypesIdentity.hpp"

namespace {

using namespace SCM;

const char* const kEmptyText = "UZNV6GSDjNHqUjgyPa3PcG";
const char* const kOneToFour = "U4NdP7g6UUORzSSeCh2CSC";
const char* const kZeros = "r0D0lO5YFYuzQLWx4FCVRC";

// Counts computations, so tests can see when the checksum is (not) recomputed.
class CountingIdentity : public SCMGenericIdentity {
public:
    using SCMGenericIdentity::SCMGenericIdentity;
    void computeChecksum() override {
        if (!isComputedChecksum()) ++computations;
        SCMGenericIdentity::computeChecksum();
    }
    int computations = 0;
};

TEST(Identity, ChecksumIsComputedOnceOnFirstRead) {
    CountingIdentity identity(SCM_OTHER, "x");
    EXPECT_FALSE(identity.isComputedChecksum());
    const std::string first = identity.getChecksum();
    EXPECT_TRUE(identity.isComputedChecksum());
    EXPECT_EQ(identity.getChecksum(), first);
    EXPECT_EQ(identity.computations, 1);
}

TEST(Identity, SetChecksumIsTakenAsComputed) {
    CountingIdentity identity(SCM_OTHER, "x");
    identity.setChecksum("abc");
    EXPECT_EQ(identity.getChecksum(), "abc");
    EXPECT_EQ(identity.computations, 0);
}

TEST(Identity, SetTypeKeepsTheChecksumAndTypeTextFallsBack) {
    SCMGenericIdentity identity(SCM_SHARED_FUNCTIONS, "f");
    identity.setChecksum("kept");
    identity.setType(SCM_SHARED_TYPES);
    EXPECT_EQ(identity.getChecksum(), "kept");
    EXPECT_EQ(identity.getTypeString(), "SCM_SHARED_TYPES");
    identity.setType(static_cast<SCMTypes>(42));
    EXPECT_EQ(identity.getTypeString(), "SCM_NUM");
    identity.setType(SCM_NUM);
    EXPECT_EQ(identity.getTypeString(), "SCM_NUM");
}

TEST(UtilityIdentity, WorkedValues) {
    SCMBasicUtilityIdentity plain("rt_foo");
    EXPECT_EQ(plain.getChecksum(), "dGfL8aBULDXcmtIhYfhCcE");

    SCMBasicUtilityIdentity withoutLength("rt_foo");
    withoutLength.setSymbolString("rtfoo");
    withoutLength.setIncludeMaxIdLength(false);
    EXPECT_EQ(withoutLength.getChecksum(), "CC3DRqMXZn6KJqqTPaQNvG");

    SCMBasicUtilityIdentity withLength("rt_foo");
    withLength.setSymbolString("rtfoo");
    withLength.setMaxIdLength(31);
    EXPECT_EQ(withLength.getChecksum(), "b93dUxijR9eIg7SpoIgQyF");

    EXPECT_EQ(plain.getType(), SCM_UTILITIES);
    EXPECT_STREQ(plain.getFullyQualifiedKobjTypeName(), "SharedCodeManager.BasicUtilityIdentity");
}

TEST(UtilityIdentity, DefaultsAndLengthCountsOnlyWithASymbolString) {
    SCMBasicUtilityIdentity identity;
    EXPECT_EQ(identity.getUtilityIdentifier(), "");
    EXPECT_EQ(identity.getSymbolString(), "");
    EXPECT_EQ(identity.getMaxIdLength(), 0);
    EXPECT_TRUE(identity.includeMaxIdLength());
    EXPECT_EQ(identity.getChecksum(), kEmptyText);

    SCMBasicUtilityIdentity other("rt_foo");
    other.setMaxIdLength(99);
    other.setIncludeMaxIdLength(true);
    EXPECT_EQ(other.getChecksum(), "dGfL8aBULDXcmtIhYfhCcE");
}

TEST(UtilityIdentity, FieldsAreFedWithoutSeparators) {
    SCMBasicUtilityIdentity split("ab");
    split.setSymbolString("c");
    split.setIncludeMaxIdLength(false);
    SCMBasicUtilityIdentity whole("abc");
    EXPECT_EQ(split.getChecksum(), whole.getChecksum());
}

TEST(UtilityIdentity, EverySetterMakesTheChecksumRecompute) {
    SCMBasicUtilityIdentity identity("rt_foo");
    identity.setChecksum("X");
    EXPECT_EQ(identity.getChecksum(), "X");
    identity.setSymbolString("rtfoo");
    identity.setIncludeMaxIdLength(false);
    EXPECT_EQ(identity.getChecksum(), "CC3DRqMXZn6KJqqTPaQNvG");
    identity.setIncludeMaxIdLength(true);
    identity.setMaxIdLength(31);
    EXPECT_EQ(identity.getChecksum(), "b93dUxijR9eIg7SpoIgQyF");
    identity.setUtilityIdentifier("");
    identity.setSymbolString("");
    EXPECT_EQ(identity.getChecksum(), kEmptyText);
}

TEST(UtilityIdentity, CopyAndCloneCarryFieldsButNotTheChecksum) {
    SCMBasicUtilityIdentity source("rt_foo");
    source.setSymbolString("rtfoo");
    source.setMaxIdLength(31);
    source.getChecksum();
    std::unique_ptr<SCMIdentity> clone(source.clone());
    EXPECT_FALSE(clone->isComputedChecksum());
    EXPECT_EQ(clone->getChecksum(), "b93dUxijR9eIg7SpoIgQyF");

    source.setChecksum("forced");
    SCMBasicUtilityIdentity copy(source);
    EXPECT_FALSE(copy.isComputedChecksum());
    EXPECT_EQ(copy.getChecksum(), "b93dUxijR9eIg7SpoIgQyF");
    EXPECT_EQ(copy.getMaxIdLength(), 31);
}

TEST(GenericIdentity, CategoryIsNotPartOfTheKey) {
    SCMGenericIdentity functions(SCM_SHARED_FUNCTIONS, "same");
    SCMGenericIdentity types(SCM_SHARED_TYPES, "same");
    EXPECT_EQ(functions.getChecksum(), types.getChecksum());
    EXPECT_NE(functions.getType(), types.getType());
    EXPECT_EQ(SCMGenericIdentity(SCM_OTHER).getChecksum(), kEmptyText);

    functions.setDesiredIdentifier("abc");
    EXPECT_EQ(functions.getChecksum(), "OGYSglrIy4jPHI0kduetXE");

    std::unique_ptr<SCMIdentity> clone(functions.clone());
    EXPECT_EQ(clone->getType(), SCM_SHARED_FUNCTIONS);
    EXPECT_FALSE(clone->isComputedChecksum());
    EXPECT_EQ(clone->getChecksum(), "OGYSglrIy4jPHI0kduetXE");
    EXPECT_STREQ(clone->getFullyQualifiedKobjTypeName(), "SharedCodeManager.GenericIdentity");
}

TEST(GenericIdentity, EmbeddedNulEndsTheKey) {
    SCMGenericIdentity withNul(SCM_OTHER, std::string("a\0b", 3));
    SCMGenericIdentity plain(SCM_OTHER, "a");
    EXPECT_EQ(withNul.getChecksum(), plain.getChecksum());
}

// The four-element identities, one parameterized suite over the four concrete classes.
struct FourElementCase {
    const char* publishedName;
    SCMTypes category;
    std::function<SCMIdentity*()> makeDefault;
    std::function<SCMIdentity*(unsigned, unsigned, unsigned, unsigned)> make;
    std::function<void(SCMIdentity&, unsigned)> setElement1;
};

// Printed by name: GoogleTest would otherwise dump the bytes, padding included.
std::ostream& operator<<(std::ostream& out, const FourElementCase& c) { return out << c.publishedName; }

template <typename T>
FourElementCase fourElementCase(const char* name, SCMTypes category) {
    return {name, category, [] { return new T(); },
            [](unsigned a, unsigned b, unsigned c, unsigned d) { return new T(a, b, c, d); },
            [](SCMIdentity& identity, unsigned value) {
                static_cast<T&>(identity).setChecksumElement1(value);
            }};
}

class FourElementIdentity : public ::testing::TestWithParam<FourElementCase> {};

TEST_P(FourElementIdentity, WorkedValuesCategoryAndName) {
    std::unique_ptr<SCMIdentity> zeros(GetParam().makeDefault());
    std::unique_ptr<SCMIdentity> oneToFour(GetParam().make(1, 2, 3, 4));
    EXPECT_EQ(zeros->getChecksum(), kZeros);
    EXPECT_EQ(oneToFour->getChecksum(), kOneToFour);
    EXPECT_EQ(oneToFour->getType(), GetParam().category);
    EXPECT_STREQ(oneToFour->getFullyQualifiedKobjTypeName(), GetParam().publishedName);
    EXPECT_TRUE(oneToFour->isAbstract());
}

TEST_P(FourElementIdentity, ElementOrderAndAllBitsCount) {
    std::unique_ptr<SCMIdentity> forward(GetParam().make(1, 2, 3, 4));
    std::unique_ptr<SCMIdentity> backward(GetParam().make(4, 3, 2, 1));
    std::unique_ptr<SCMIdentity> allOnes(GetParam().make(~0u, ~0u, ~0u, ~0u));
    EXPECT_NE(forward->getChecksum(), backward->getChecksum());
    EXPECT_NE(allOnes->getChecksum(), forward->getChecksum());
    EXPECT_EQ(allOnes->getChecksum(), SCMSharedFunctionIdentity(~0u, ~0u, ~0u, ~0u).getChecksum());
}

TEST_P(FourElementIdentity, SettersKeepAComputedChecksumButClonesRecompute) {
    std::unique_ptr<SCMIdentity> identity(GetParam().make(1, 2, 3, 4));
    EXPECT_EQ(identity->getChecksum(), kOneToFour);
    GetParam().setElement1(*identity, 5);
    EXPECT_EQ(identity->getChecksum(), kOneToFour);

    std::unique_ptr<SCMIdentity> clone(identity->clone());
    EXPECT_EQ(clone->getType(), GetParam().category);
    EXPECT_FALSE(clone->isComputedChecksum());
    EXPECT_EQ(clone->getChecksum(), SCMSharedFunctionIdentity(5, 2, 3, 4).getChecksum());
    EXPECT_NE(clone->getChecksum(), kOneToFour);
}

INSTANTIATE_TEST_SUITE_P(
    AllClasses, FourElementIdentity,
    ::testing::Values(
        fourElementCase<SCMSharedFunctionIdentity>("SharedCodeManager.SharedFunctionIdentity",
                                                   SCM_SHARED_FUNCTIONS),
        fourElementCase<SCMSharedTypesIdentity>("SharedCodeManager.SharedTypesIdentity",
                                                SCM_SHARED_TYPES),
        fourElementCase<SCMSharedDataIdentity>("SharedCodeManager.SharedDataIdentity",
                                               SCM_SHARED_DATA),
        fourElementCase<SCMSharedConstantsIdentity>("SharedCodeManager.SharedConstantsIdentity",
                                                    SCM_SHARED_CONSTANTS)),
    [](const ::testing::TestParamInfo<FourElementCase>& info) {
        return std::string(info.param.publishedName).substr(sizeof("SharedCodeManager.") - 1);
    });

TEST(Identity, EveryIdentityAnswersAbstract) {
    EXPECT_TRUE(SCMBasicUtilityIdentity().isAbstract());
    EXPECT_TRUE(SCMGenericIdentity(SCM_OTHER).isAbstract());
}

}  // namespace
