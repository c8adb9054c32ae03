#include <gtest/gtest.h>

#include <functional>
#include <limits>

#include "kobj/Conversions.hpp"
#include "kobj/Error.hpp"
#include "kobj/Signature.hpp"
#include "support/KobjErrors.hpp"

namespace {

using kobjtest::errorOf;

qaArray cellOf(std::vector<qaArray> elements) { return qaArray::cellColumn(std::move(elements)); }
qaArray text(const char* value) { return qaArray::fromText(value); }

TEST(KobjConversionsTest, ValuesThatFitConvert) {
    const std::int32_t int32Max = std::numeric_limits<std::int32_t>::max();
    const qaArray cell = cellOf({text("a"), qaArray::fromText(std::string("b\0c", 3))});
    EXPECT_EQ(kobj::textListFrom(cell), (std::vector<std::string>{"a", std::string("b\0c", 3)}));
    EXPECT_TRUE(kobj::textListFrom(qaArray()).empty()) << "a missing value is an empty list";
    EXPECT_TRUE(kobj::textListFrom(cellOf({})).empty());
    EXPECT_EQ(kobj::textFrom(text("")), "");
    EXPECT_EQ(kobj::uint32From(qaArray::fromUInt32(0xFFFFFFFFu)), 0xFFFFFFFFu);
    EXPECT_EQ(kobj::uint32From(qaArray::fromInt32(5)), 5u);
    EXPECT_EQ(kobj::int32From(qaArray::fromInt32(-5)), -5);
    EXPECT_EQ(kobj::int32From(qaArray::fromUInt32(static_cast<std::uint32_t>(int32Max))), int32Max);
    EXPECT_TRUE(kobj::logicalFrom(qaArray::fromLogical(true)));

    const qaArray empty = kobj::textListValue({});
    EXPECT_EQ(empty.kind(), qaArray::Kind::Cell);
    EXPECT_EQ(empty.rows(), 0u);
    EXPECT_EQ(empty.cols(), 1u);
    const qaArray two = kobj::textListValue({"x", "y"});
    EXPECT_EQ(two.rows(), 2u);
    EXPECT_EQ(two.cells()[1].text(), "y");
}

// Each refusal: its identifier, the element index for cells, and the value's class and size.
TEST(KobjConversionsTest, ValuesThatDoNotFitAreRefusedWithTheReason) {
    struct Row {
        std::function<void()> convert;
        const char* identifier;
        std::optional<std::size_t> index;
        const char* shown;  // in the message
    };
    const qaArray withNumber = cellOf({text("a"), text("b"), qaArray::fromUInt32(7), text("d")});
    const Row rows[] = {
        {[&] { kobj::textListFrom(withNumber); }, "kobj:errorMustBeString", 2, "Element 2"},
        {[&] { kobj::textListFrom(withNumber); }, "kobj:errorMustBeString", 2, "uint32 1x1"},
        {[] { kobj::textListFrom(text("abc")); }, "kobj:errorMustBeCellArray", {}, "char 1x3"},
        {[] { kobj::textFrom(qaArray()); }, "kobj:errorMustBeString", {}, ""},
        {[] { kobj::textFrom(qaArray::fromLogical(true)); }, "kobj:errorMustBeString", {}, ""},
        {[] { kobj::textFrom(cellOf({})); }, "kobj:errorMustBeString", {}, ""},
        {[] { kobj::uint32From(qaArray::fromInt32(-1)); }, "kobj:errorMustBeUInt32Scalar", {}, ""},
        {[] { kobj::int32From(qaArray::fromUInt32(0x80000000u)); }, "kobj:errorMustBeInt32Scalar", {}, ""},
        {[] { kobj::int32From(qaArray::fromLogical(true)); }, "kobj:errorMustBeInt32Scalar", {}, ""},
        {[] { kobj::logicalFrom(qaArray::fromUInt32(1)); }, "kobj:errorMustBeLogicalScalar", {}, ""},
    };
    for (const Row& row : rows) {
        const kobj::Error error = errorOf(row.convert);
        EXPECT_EQ(error.identifier(), row.identifier);
        EXPECT_EQ(error.index(), row.index) << row.identifier;
        EXPECT_NE(std::string(error.what()).find(row.shown), std::string::npos) << error.what();
    }
}

TEST(KobjConversionsTest, FitsTypeAgreesWithTheConverters) {
    const std::tuple<qaArray, const char*, bool> rows[] = {
        {text("x"), "char", true},
        {text("x"), "char vector", true},
        {qaArray::fromUInt32(1), "char", false},
        {qaArray(), "cell", true},
        {cellOf({qaArray::fromLogical(true)}), "cell", false},
        {qaArray::fromInt32(3), "uint32 scalar", true},
        {qaArray::fromInt32(-3), "uint32 scalar", false},
        {qaArray(), "SomePackage.SomeClass", true},  // a missing object is absent
        {text("x"), "SomePackage.SomeClass vector", false},
    };
    for (const auto& [value, type, fits] : rows) EXPECT_EQ(kobj::fitsType(value, type), fits) << type;
}

TEST(KobjConversionsTest, TypeTextsFallIntoCategoriesAndSignaturesReadLikeCalls) {
    EXPECT_EQ(kobj::categoryOf("char"), kobj::TypeCategory::Text);
    EXPECT_EQ(kobj::categoryOf("char vector"), kobj::TypeCategory::Text);
    EXPECT_EQ(kobj::categoryOf("cell"), kobj::TypeCategory::Cell);
    EXPECT_EQ(kobj::categoryOf("P.Identity"), kobj::TypeCategory::Object);
    EXPECT_EQ(kobj::categoryOf("P.Identity vector"), kobj::TypeCategory::ObjectVector);
    EXPECT_EQ(kobj::objectClassOf("P.Identity vector"), "P.Identity");

    const kobj::Signature method{{"char vector"}, {"P.Facade", "P.Identity", "P.Data"}};
    EXPECT_EQ(method.toString("registerData"),
              "char vector = registerData(P.Facade, P.Identity, P.Data)");
    EXPECT_EQ((kobj::Signature{{}, {}}).toString("f"), "f()");
    EXPECT_EQ((kobj::Signature{{"a", "b"}, {"c"}}).toString("g"), "[a, b] = g(c)");
}

}  // namespace
