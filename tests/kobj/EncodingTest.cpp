#include <gtest/gtest.h>

#include <memory>

#include "kobj/COSPackage.hpp"
#include "kobj/EncodingReader.hpp"
#include "kobj/Error.hpp"
#include "kobj/JsonEscaping.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectEncoding.hpp"
#include "support/KobjErrors.hpp"
#include "support/TestShapes.hpp"

namespace {

std::string allBytes() {
    std::string bytes;
    for (int value = 0; value < 256; ++value) bytes += static_cast<char>(value);
    return bytes;
}

std::string jsonString(const std::string& bytes) {
    std::string text;
    kobj::json::appendString(text, bytes);
    return text;
}

TEST(KobjJsonEscapingTest, AsciiStaysReadableAndEveryOtherByteIsEscaped) {
    EXPECT_EQ(jsonString("rt_foo"), "\"rt_foo\"");
    EXPECT_EQ(jsonString("a\"b\\c\nd\te"), "\"a\\\"b\\\\c\\nd\\te\"");
    EXPECT_EQ(jsonString(std::string("x\0y", 3)), "\"x\\u0000y\"");
    EXPECT_EQ(jsonString("\xe9\x7f"), "\"\\u00e9\\u007f\"");
    for (char c : jsonString(allBytes())) {
        EXPECT_TRUE(c >= 0x20 && c < 0x7f) << "the text is printable ASCII only";
    }
}

TEST(KobjJsonEscapingTest, LatinOneCodePointsReadBackAsBytes) {
    std::string bytes;
    EXPECT_TRUE(kobj::json::bytesFromUtf8("a\xc3\xa9\xc2\x80", bytes));
    EXPECT_EQ(bytes, "a\xe9\x80");
    EXPECT_FALSE(kobj::json::bytesFromUtf8("\xe2\x82\xac", bytes)) << "U+20AC is no byte";
    EXPECT_FALSE(kobj::json::bytesFromUtf8("\xc3", bytes)) << "truncated sequence";
}

TEST(KobjEncodedObjectTest, ReadsEveryValueKindAndAllBytes) {
    const std::string text =
        "{\"class\":\"p.C\",\"T\":" + jsonString(allBytes()) +
        ",\"L\":false,\"U\":4294967295,\"I\":-2147483648,\"C\":[\"a\",\"\\u00ff\"]}";
    kobj::EncodedObject object;
    ASSERT_TRUE(kobj::readEncodedObject(text, object));
    EXPECT_EQ(object.className, "p.C");
    ASSERT_EQ(object.properties.size(), 5u);
    EXPECT_EQ(object.properties[0].second.text(), allBytes());
    EXPECT_FALSE(object.properties[1].second.logical());
    EXPECT_EQ(object.properties[2].second.uint32Value(), 4294967295u);
    EXPECT_EQ(object.properties[3].second.int32Value(), -2147483647 - 1);
    EXPECT_EQ(object.properties[4].second.cells().at(1).text(), "\xff");
}

TEST(KobjEncodedObjectTest, RefusesEveryOtherShape) {
    const std::vector<std::string> refused = {
        "",
        "{",
        "null",
        "[]",
        "\"text\"",
        "{}",
        "{\"A\":1}",
        "{\"class\":\"\"}",
        "{\"class\":5}",
        "{\"class\":[\"p.C\"]}",
        "{\"class\":\"p.C\",\"A\":1.5}",
        "{\"class\":\"p.C\",\"A\":null}",
        "{\"class\":\"p.C\",\"A\":{}}",
        "{\"class\":\"p.C\",\"A\":[1]}",
        "{\"class\":\"p.C\",\"A\":[[\"x\"]]}",
        "{\"class\":\"p.C\",\"A\":4294967296}",
        "{\"class\":\"p.C\",\"A\":-2147483649}",
        "{\"class\":\"p.C\",\"A\":1,\"A\":2}",
        "{\"class\":\"p.C\",\"class\":\"p.D\"}",
        "{\"class\":\"p.C\"} {}",
        "{\"class\":\"p.C\",\"A\":\"\\u20ac\"}",
        "{\"class\":\"p.C\",\"A\":\"\xff\"}",
        "{\"class\":\"p.C\"",
    };
    for (const std::string& text : refused) {
        kobj::EncodedObject object;
        EXPECT_FALSE(kobj::readEncodedObject(text, object)) << text;
    }
    kobj::EncodedObject object;
    EXPECT_FALSE(kobj::readEncodedObject(std::string(200000, '['), object)) << "deep nesting";
}

// Plain bytes are scanned many at a time: an escape, a raw control character or a non-ASCII byte
// is found wherever it sits in a long string.
TEST(KobjEncodedObjectTest, FindsTheSpecialByteAtEveryPositionOfALongString) {
    for (std::size_t at = 0; at < 40; ++at) {
        const std::string before(at, 'a');
        const std::string after(40 - at, 'b');
        kobj::EncodedObject object;
        ASSERT_TRUE(kobj::readEncodedObject(
            "{\"class\":\"p.C\",\"T\":\"" + before + "\\\"" + after + "\"}", object))
            << at;
        EXPECT_EQ(object.properties.at(0).second.text(), before + '"' + after);
        ASSERT_TRUE(kobj::readEncodedObject(
            "{\"class\":\"p.C\",\"T\":\"" + before + "\xc3\xa9" + after + "\"}", object));
        EXPECT_EQ(object.properties.at(0).second.text(), before + '\xe9' + after);
        EXPECT_FALSE(kobj::readEncodedObject(
            "{\"class\":\"p.C\",\"T\":\"" + before + '\n' + after + "\"}", object))
            << "a raw control character at " << at;
        EXPECT_FALSE(kobj::readEncodedObject("{\"class\":\"p.C\",\"T\":\"" + before, object))
            << "a string cut at " << at;
    }
}

// Reading an object inside a longer text stops right after its closing brace; a refused object
// leaves the position where it was.
TEST(KobjEncodedObjectTest, ReadsAnObjectInsideALongerText) {
    const std::string text = "[ {\"class\":\"p.C\",\"N\":[\"x}\"]} , {\"class\":5}]";
    const char* next = text.data() + 1;
    const char* const end = text.data() + text.size();
    kobj::EncodedObject object;
    ASSERT_TRUE(kobj::readEncodedObjectAt(next, end, object));
    EXPECT_EQ(object.className, "p.C");
    EXPECT_EQ(object.properties.at(0).second.cells().at(0).text(), "x}");
    EXPECT_EQ(std::string(next, end), " , {\"class\":5}]");
    next += 2;
    const char* const before = next;
    EXPECT_FALSE(kobj::readEncodedObjectAt(next, end, object));
    EXPECT_EQ(next, before);
    const char* const last = end - 1;
    next = last;
    EXPECT_FALSE(kobj::readEncodedObjectAt(next, last, object)) << "nothing left to read";
}

class KobjObjectEncodingTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!kobj::COSPackage::getPackageInterface("kobjtest")) {
            kobj::COSPackage::addPackage(std::make_unique<kobjtest::ShapesPackage>());
        }
    }
};

TEST_F(KobjObjectEncodingTest, WritesTheClassAndEverySettableProperty) {
    qaArray circle =
        kobj::construct("kobjtest.Circle", {qaArray::fromText("c"), qaArray::fromUInt32(3)});
    kobj::setProperty(circle, "Tags", qaArray::cellColumn({qaArray::fromText("t")}));
    EXPECT_EQ(kobj::encodeObject(circle),
              "{\"class\":\"kobjtest.Circle\",\"Label\":\"derived:c\",\"Name\":\"c\",\"Radius\":3,"
              "\"Offset\":0,\"Filled\":false,\"Tags\":[\"t\"]}")
        << "the read-only Diameter is left out";
}

TEST_F(KobjObjectEncodingTest, EncodingRefusesWhatCannotBeRebuilt) {
    kobjtest::Shape shape("abstract");
    kobjtest::Stray stray;
    const auto encodingError = [](const qaArray& value) {
        return kobjtest::errorIdentifier([&] { kobj::encodeObject(value); });
    };
    EXPECT_EQ(encodingError(shape.toScriptValue()), "kobj:notEncodable");
    EXPECT_EQ(encodingError(stray.toScriptValue()), "kobj:notAnObject");
    EXPECT_EQ(encodingError(qaArray::fromText("x")), "kobj:notAnObject");
}

// (The library's classes check the other refusals of decoding and the round trip.)
TEST_F(KobjObjectEncodingTest, DecodingRefusesReadOnlyPropertiesAndKeepsConstructorValues) {
    EXPECT_EQ(kobj::decodeObject("{\"class\":\"kobjtest.Circle\",\"Diameter\":4}").kind(),
              qaArray::Kind::Empty);
    const qaArray circle = kobj::decodeObject("{\"class\":\"kobjtest.Circle\"}");
    EXPECT_EQ(kobj::getProperty(circle, "Label").text(), "derived:");
}

}  // namespace
