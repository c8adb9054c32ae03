#include <gtest/gtest.h>

#include <limits>

#include "kobj/Conversions.hpp"
#include "kobj/Error.hpp"
#include "kobj/Signature.hpp"
#include "support/KobjErrors.hpp"

namespace {

using kobjtest::errorOf;

qaArray cellOf(std::vector<qaArray> elements) { return qaArray::cellColumn(std::move(elements)); }

TEST(KobjConversionsTest, TextListsComeFromCellColumnsOfTexts) {
    const qaArray cell =
        cellOf({qaArray::fromText("a"), qaArray::fromText(std::string("b\0c", 3))});
    EXPECT_EQ(kobj::textListFrom(cell), (std::vector<std::string>{"a", std::string("b\0c", 3)}));
    EXPECT_TRUE(kobj::textListFrom(qaArray()).empty()) << "a missing value is an empty list";
    EXPECT_TRUE(kobj::textListFrom(cellOf({})).empty());
}

TEST(KobjConversionsTest, CellHoldingANumberReportsTheElementIndex) {
    const qaArray cell = cellOf({qaArray::fromText("a"), qaArray::fromText("b"),
                                 qaArray::fromUInt32(7), qaArray::fromText("d")});
    const kobj::Error error = errorOf([&] { kobj::textListFrom(cell); });
    EXPECT_EQ(error.identifier(), "kobj:errorMustBeString");
    ASSERT_TRUE(error.index().has_value());
    EXPECT_EQ(*error.index(), 2u);
    EXPECT_NE(std::string(error.what()).find("Element 2"), std::string::npos) << error.what();
    EXPECT_NE(std::string(error.what()).find("uint32 1x1"), std::string::npos) << error.what();
}

TEST(KobjConversionsTest, PlainTextWhereACellIsExpectedIsNotACellArray) {
    const kobj::Error error = errorOf([] { kobj::textListFrom(qaArray::fromText("abc")); });
    EXPECT_EQ(error.identifier(), "kobj:errorMustBeCellArray");
    EXPECT_FALSE(error.index().has_value());
    EXPECT_NE(std::string(error.what()).find("char 1x3"), std::string::npos) << error.what();
}

TEST(KobjConversionsTest, EmptyListBecomesAZeroByOneCell) {
    const qaArray value = kobj::textListValue({});
    EXPECT_EQ(value.kind(), qaArray::Kind::Cell);
    EXPECT_EQ(value.rows(), 0u);
    EXPECT_EQ(value.cols(), 1u);
    const qaArray two = kobj::textListValue({"x", "y"});
    EXPECT_EQ(two.rows(), 2u);
    EXPECT_EQ(two.cells()[1].text(), "y");
}

TEST(KobjConversionsTest, TextMustBeACharacterRow) {
    EXPECT_EQ(kobj::textFrom(qaArray::fromText("")), "");
    for (const qaArray& value : {qaArray(), qaArray::fromLogical(true), cellOf({})}) {
        const kobj::Error error = errorOf([&] { kobj::textFrom(value); });
        EXPECT_EQ(error.identifier(), "kobj:errorMustBeString");
        EXPECT_FALSE(error.index().has_value());
    }
}

TEST(KobjConversionsTest, IntegersConvertAcrossClassesOnlyWhenTheyFit) {
    const std::int32_t int32Max = std::numeric_limits<std::int32_t>::max();
    EXPECT_EQ(kobj::uint32From(qaArray::fromUInt32(0xFFFFFFFFu)), 0xFFFFFFFFu);
    EXPECT_EQ(kobj::uint32From(qaArray::fromInt32(5)), 5u);
    EXPECT_EQ(kobj::int32From(qaArray::fromInt32(-5)), -5);
    EXPECT_EQ(kobj::int32From(qaArray::fromUInt32(static_cast<std::uint32_t>(int32Max))), int32Max);
    EXPECT_EQ(errorOf([] { kobj::uint32From(qaArray::fromInt32(-1)); }).identifier(),
              "kobj:errorMustBeUInt32Scalar");
    EXPECT_EQ(errorOf([&] { kobj::int32From(qaArray::fromUInt32(0x80000000u)); }).identifier(),
              "kobj:errorMustBeInt32Scalar");
    EXPECT_EQ(errorOf([] { kobj::int32From(qaArray::fromLogical(true)); }).identifier(),
              "kobj:errorMustBeInt32Scalar");
}

TEST(KobjConversionsTest, LogicalsMustBeLogical) {
    EXPECT_TRUE(kobj::logicalFrom(qaArray::fromLogical(true)));
    EXPECT_EQ(errorOf([] { kobj::logicalFrom(qaArray::fromUInt32(1)); }).identifier(),
              "kobj:errorMustBeLogicalScalar");
}

TEST(KobjConversionsTest, FitsTypeAgreesWithTheConverters) {
    EXPECT_TRUE(kobj::fitsType(qaArray::fromText("x"), "char"));
    EXPECT_TRUE(kobj::fitsType(qaArray::fromText("x"), "char vector"));
    EXPECT_FALSE(kobj::fitsType(qaArray::fromUInt32(1), "char"));
    EXPECT_TRUE(kobj::fitsType(qaArray(), "cell"));
    EXPECT_FALSE(kobj::fitsType(cellOf({qaArray::fromLogical(true)}), "cell"));
    EXPECT_TRUE(kobj::fitsType(qaArray::fromInt32(3), "uint32 scalar"));
    EXPECT_FALSE(kobj::fitsType(qaArray::fromInt32(-3), "uint32 scalar"));
    EXPECT_TRUE(kobj::fitsType(qaArray(), "SomePackage.SomeClass")) << "a missing object is absent";
    EXPECT_FALSE(kobj::fitsType(qaArray::fromText("x"), "SomePackage.SomeClass vector"));
}

TEST(KobjConversionsTest, TypeTextsFallIntoCategories) {
    EXPECT_EQ(kobj::categoryOf("char"), kobj::TypeCategory::Text);
    EXPECT_EQ(kobj::categoryOf("char vector"), kobj::TypeCategory::Text);
    EXPECT_EQ(kobj::categoryOf("cell"), kobj::TypeCategory::Cell);
    EXPECT_EQ(kobj::categoryOf("SharedCodeManager.Identity"), kobj::TypeCategory::Object);
    EXPECT_EQ(kobj::categoryOf("SharedCodeManager.Identity vector"),
              kobj::TypeCategory::ObjectVector);
    EXPECT_EQ(kobj::objectClassOf("SharedCodeManager.Identity vector"),
              "SharedCodeManager.Identity");
}

TEST(KobjConversionsTest, SignaturesReadLikeCalls) {
    const kobj::Signature method{{"char vector"}, {"P.Facade", "P.Identity", "P.Data"}};
    EXPECT_EQ(method.toString("registerData"),
              "char vector = registerData(P.Facade, P.Identity, P.Data)");
    EXPECT_EQ((kobj::Signature{{}, {}}).toString("f"), "f()");
    EXPECT_EQ((kobj::Signature{{"a", "b"}, {"c"}}).toString("g"), "[a, b] = g(c)");
}

}  // namespace
