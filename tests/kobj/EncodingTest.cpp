#include <gtest/gtest.h>

#include <memory>

#include "kobj/COSPackage.hpp"
#include "kobj/EncodingReader.hpp"
#include "kobj/JsonEscaping.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectEncoding.hpp"
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

std::string describeValue(const qaArray& value) {
    switch (value.kind()) {
        case qaArray::Kind::Char: return "'" + value.text() + "'";
        case qaArray::Kind::Logical: return value.logical() ? "true" : "false";
        case qaArray::Kind::Int32: return "i" + std::to_string(value.int32Value());
        case qaArray::Kind::UInt32: return "u" + std::to_string(value.uint32Value());
        case qaArray::Kind::Cell: {
            std::string cells = "{";
            for (const qaArray& cell : value.cells()) cells += describeValue(cell) + ";";
            return cells + "}";
        }
        default: return "other";
    }
}

// What the reader makes of `text`: "C|A=value|..." or "@column message".
std::string reading(const std::string& text) {
    kobj::EncodedObject object;
    kobj::ReadError error;
    const bool accepted = kobj::readEncodedObject(text, object, error);
    if (accepted != kobj::readEncodedObject(text, object)) return "the two readings differ";
    if (!accepted) return "@" + std::to_string(error.column) + " " + error.message;
    std::string described = object.className;
    for (const auto& [name, value] : object.properties) described += "|" + name + "=" + describeValue(value);
    return described;
}

TEST(KobjJsonEscapingTest, AsciiStaysReadableAndEveryOtherByteIsEscaped) {
    EXPECT_EQ(jsonString("a\"b\\c\nd\te/"), "\"a\\\"b\\\\c\\nd\\te/\"");
    EXPECT_EQ(jsonString(std::string("x\0y\xe9\x7f", 5)), "\"x\\u0000y\\u00e9\\u007f\"");
    for (char c : jsonString(allBytes())) EXPECT_TRUE(c >= 0x20 && c < 0x7f) << "printable ASCII only";
    EXPECT_EQ(reading("{\"class\":\"p.C\",\"T\":" + jsonString(allBytes()) + "}"), "p.C|T='" + allBytes() + "'");
}

// Accepted texts read as "class|name=value..."; refused ones as "@column message", compared up to
// the expected text's length (a lone "@": only the refusal is checked).
TEST(KobjEncodedObjectTest, ReadsTheEncodingAndRefusesEverythingElseSayingWhere) {
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const std::string a = "{\"class\":\"p.C\",\"A\":";  // the value starts at column 20
    const std::pair<std::string, std::string> rows[] = {
        {" \t\r\n{ \"class\" : \"p.C\" , \"A\" : [ ] , \"B\" : [ \"x\" , \"\" ] , \"C\" : -0 } \n",
         "p.C|A={}|B={'x';'';}|C=i0"},
        {"\xef\xbb\xbf{\"class\":\"p.C\",\"I\":-2147483648,\"U\":4294967295,\"L\":false}",
         "p.C|I=i-2147483648|U=u4294967295|L=false"},
        {"{\"A\":true,\"class\":\"p\\u002eC\",\"S\":\"\\/\\b\\f\\n\\r\\t\\\"\\\\\\u00FF\\u0000\"}",
         "p.C|A=true|S='/\b\f\n\r\t\"\\\xff" + std::string(1, '\0') + "'"},
        {"{\"class\":\"p.C\",\"R\":\"raw \xc3\xa9\xc2\x80\",\"\\u0041\":[\"\\u00ff\"]}",
         "p.C|R='raw \xe9\x80'|A={'\xff';}"},
        {a + "1.0}", "@20 property \"A\": a number with a fraction"},
        {a + "01}", "@21 expected ',' or '}'"},
        {a + "--1}", "@20 property \"A\": not a value"},
        {a + "tru}", "@20 property \"A\": not a value"},
        {a + "\"\\q\"}", "@21 property \"A\": invalid escape"},
        {a + "\"\\u00g0\"}", "@21 property \"A\": invalid \\u escape"},
        {a + "4294967296}", "@20 property \"A\": the integer is out of range"},
        {a + "-2147483649}", "@20 property \"A\": the integer is out of range"},
        {a + "99999999999999999999999}", "@20 property \"A\": the integer is out of range"},
        {a + "null}", "@20 property \"A\": null is not a value"},
        {a + "[\"x\",[]]}", "@25 property \"A\": a list holds texts only, not lists"},
        {a + deep + "}", "@21 property \"A\": a list holds texts only, not lists"},
        {a + "{}}", "@20 property \"A\": an object is not a value"},
        {a + "\"ab\\u0100\"}", "@23 property \"A\": a character above U+00FF"},
        {a + "[1]}", "@"}, {a + "\"\xe2\x82\xac\"}", "@"}, {a + "\"\xff\"}", "@"},
        {a + "\"a\x1f" "b\"}", "@22 property \"A\": a control character"},
        {a + "1,\"A\":2}", "@22 property \"A\": given twice"},
        {a + "1,\"class\":\"q\"}", "@22 \"class\" is given twice"},
        {"", "@"}, {"{", "@"}, {"null", "@"}, {"[]", "@"}, {"{}", "@"}, {"{\"A\":1}", "@"},
        {"{\"class\":\"\"}", "@"}, {"{\"class\":5}", "@"}, {"{\"class\":[\"p.C\"]}", "@"},
        {"{\"class\":\"p.C\"} {}", "@"}, {"{\"class\":\"p.C\"", "@"}, {std::string(200000, '['), "@"},
    };
    for (const auto& [text, expected] : rows) {
        const std::string actual = reading(text);
        EXPECT_EQ(actual.substr(0, expected.size()), expected) << text.substr(0, 60);
        if (actual[0] == '@') {
            EXPECT_LT(actual.find(' '), actual.size() - 1) << "a refusal says why";
        }
    }
}

// Plain bytes are scanned many at a time: an escape, a raw control character or a non-ASCII byte
// is found wherever it sits in a long string.
TEST(KobjEncodedObjectTest, FindsTheSpecialByteAtEveryPositionOfALongString) {
    for (std::size_t at = 0; at < 40; ++at) {
        const std::string before = "{\"class\":\"p.C\",\"T\":\"" + std::string(at, 'a');
        const std::string after = std::string(40 - at, 'b') + "\"}";
        const std::string text = "p.C|T='" + std::string(at, 'a');
        EXPECT_EQ(reading(before + "\\\"" + after), text + '"' + std::string(40 - at, 'b') + "'");
        EXPECT_EQ(reading(before + "\xc3\xa9" + after), text + '\xe9' + std::string(40 - at, 'b') + "'");
        EXPECT_EQ(reading(before + '\n' + after).substr(0, 1), "@") << "a raw control character at " << at;
        EXPECT_EQ(reading(before).substr(0, 1), "@") << "a string cut at " << at;
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
    EXPECT_EQ(object.properties.at(0).second.cells().at(0).text(), "x}");
    EXPECT_EQ(std::string(next, end), " , {\"class\":5}]");
    next += 2;
    const char* const before = next;
    EXPECT_FALSE(kobj::readEncodedObjectAt(next, end, object));
    EXPECT_EQ(next, before);
}

class KobjObjectEncodingTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!kobj::COSPackage::getPackageInterface("kobjtest")) {
            kobj::COSPackage::addPackage(std::make_unique<kobjtest::ShapesPackage>());
        }
    }
};

TEST_F(KobjObjectEncodingTest, WritesEverySettablePropertyAndDecodesWhatCanBeRebuilt) {
    qaArray circle =
        kobj::construct("kobjtest.Circle", {qaArray::fromText("c"), qaArray::fromUInt32(3)});
    EXPECT_EQ(kobj::encodeObject(circle),
              "{\"class\":\"kobjtest.Circle\",\"Label\":\"derived:c\",\"Name\":\"c\",\"Radius\":3}")
        << "the read-only Diameter is left out";
    kobjtest::Shape shape("abstract");
    kobjtest::Stray stray;
    const auto encodingError = [](const qaArray& value) {
        return kobjtest::errorOf([&] { kobj::encodeObject(value); }).identifier();
    };
    EXPECT_EQ(encodingError(shape.toScriptValue()), "kobj:notEncodable");
    EXPECT_EQ(encodingError(stray.toScriptValue()), "kobj:notAnObject");
    EXPECT_EQ(encodingError(qaArray::fromText("x")), "kobj:notAnObject");
    // (The library's classes check the other refusals of decoding and the round trip.)
    EXPECT_EQ(kobj::decodeObject("{\"class\":\"kobjtest.Circle\",\"Diameter\":4}").kind(),
              qaArray::Kind::Empty);
    const qaArray decoded = kobj::decodeObject("{\"class\":\"kobjtest.Circle\",\"Label\":\"kept\",\"Name\":\"n\"}");
    EXPECT_EQ(kobj::getProperty(decoded, "Label").text(), "kept") << "dependent properties are set last";
}

// A text is checked whole before any object is made: a fault at its very end runs no setter.
TEST_F(KobjObjectEncodingTest, AFaultAnywhereInTheTextRunsNoSetter) {
    const std::string members = "{\"class\":\"kobjtest.Circle\",\"Name\":\"n\",\"Radius\":3";
    const int before = kobjtest::Shape::nameWrites();
    for (const std::string& bad : {members + ",}", members + "} x", members + ",\"Name\":\"m\"}", members}) {
        EXPECT_TRUE(kobj::decodeObject(bad).isEmpty()) << bad;
    }
    EXPECT_EQ(kobjtest::Shape::nameWrites(), before);
    EXPECT_EQ(kobj::decodeObject(members + "}").numel(), 1u);
    EXPECT_GT(kobjtest::Shape::nameWrites(), before) << "the count sees a decoding";
}

}  // namespace
