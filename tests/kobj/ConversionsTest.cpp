#include <gtest/gtest.h>

#include <functional>

#include "kobj/Conversions.hpp"
#include "kobj/Error.hpp"
#include "support/TestShapes.hpp"

namespace {

qaArray cellOf(std::vector<qaArray> elements) { return qaArray::cellColumn(std::move(elements)); }
qaArray text(const char* value) { return qaArray::fromText(value); }

TEST(KobjConversionsTest, ValuesThatFitConvert) {
    const std::string withNul("b\0c", 3);
    EXPECT_EQ(kobj::textListFrom(cellOf({text("a"), qaArray::fromText(withNul)})),
              (std::vector<std::string>{"a", withNul}));
    EXPECT_TRUE(kobj::textListFrom(qaArray()).empty()) << "a missing value is an empty list";
    EXPECT_EQ(kobj::uint32From(qaArray::fromInt32(5)), 5u);
    EXPECT_EQ(kobj::int32From(qaArray::fromUInt32(0x7FFFFFFFu)), 0x7FFFFFFF);
    const qaArray empty = kobj::textListValue({});
    EXPECT_EQ(empty.rows() * 10 + empty.cols(), 1u) << "an empty list is 0x1";
    EXPECT_EQ(kobj::textListValue({"x", "y"}).cells().at(1).text(), "y");
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
        {[&] { kobj::textListFrom(withNumber); }, "kobj:errorMustBeString", 2, "uint32 1x1"},
        {[] { kobj::textListFrom(text("abc")); }, "kobj:errorMustBeCellArray", {}, "char 1x3"},
        {[] { kobj::textFrom(qaArray::fromLogical(true)); }, "kobj:errorMustBeString", {}, ""},
        {[] { kobj::uint32From(qaArray::fromInt32(-1)); }, "kobj:errorMustBeUInt32Scalar", {}, ""},
        {[] { kobj::int32From(qaArray::fromUInt32(0x80000000u)); }, "kobj:errorMustBeInt32Scalar", {}, ""},
        {[] { kobj::logicalFrom(qaArray::fromUInt32(1)); }, "kobj:errorMustBeLogicalScalar", {}, ""},
    };
    for (const Row& row : rows) {
        const kobj::Error error = kobjtest::errorOf(row.convert);
        EXPECT_EQ(error.identifier(), row.identifier);
        EXPECT_EQ(error.index(), row.index) << row.identifier;
        EXPECT_NE(std::string(error.what()).find(row.shown), std::string::npos) << error.what();
    }
}

TEST(KobjConversionsTest, FitsTypeAgreesWithTheConverters) {
    const std::tuple<qaArray, const char*, bool> rows[] = {
        {text("x"), "char vector", true},
        {qaArray(), "cell", true},
        {cellOf({qaArray::fromLogical(true)}), "cell", false},
        {qaArray::fromInt32(3), "uint32 scalar", true},
        {qaArray::fromInt32(-3), "uint32 scalar", false},
        {qaArray(), "SomePackage.SomeClass", true},  // a missing object is absent
        {text("x"), "SomePackage.SomeClass vector", false},
    };
    for (const auto& [value, type, fits] : rows) EXPECT_EQ(kobj::fitsType(value, type), fits) << type;
    EXPECT_EQ(kobj::objectClassOf("P.Identity vector"), "P.Identity");
}

}  // namespace
