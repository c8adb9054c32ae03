// The one-pass reader of the whole-object encoding against a general JSON parser: on valid
// encodings, on hand-made variants of the JSON syntax, and on every single-byte mutation and
// truncation of them, both must accept and refuse the same texts and read the same values.
#include <gtest/gtest.h>

#include <string>
#include <vector>

#include "SCMBasicUtilityData.hpp"
#include "SCMBasicUtilityIdentity.hpp"
#include "SCMModuleEntry.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "kobj/EncodingReader.hpp"
#include "kobj/JsonEscaping.hpp"
#include "kobj/ObjectEncoding.hpp"
#include "support/GeneralJsonReading.hpp"

namespace {

std::string describeValue(const qaArray& value) {
    switch (value.kind()) {
        case qaArray::Kind::Char: return "text:" + value.text();
        case qaArray::Kind::Logical: return value.logical() ? "true" : "false";
        case qaArray::Kind::Int32: return "int32:" + std::to_string(value.int32Value());
        case qaArray::Kind::UInt32: return "uint32:" + std::to_string(value.uint32Value());
        case qaArray::Kind::Cell: {
            std::string cells = "cells:";
            for (const qaArray& cell : value.cells()) cells += describeValue(cell) + ";";
            return cells;
        }
        default: return "other";
    }
}

// The reading as one string, names mapped to bytes; "refused" when `accepted` is false.
std::string describe(bool accepted, const kobj::EncodedObject& object, bool namesInUtf8) {
    if (!accepted) return "refused";
    std::string text = "class=" + object.className;
    for (const auto& [name, value] : object.properties) {
        std::string bytes = name;
        if (namesInUtf8 && !kobj::json::bytesFromUtf8(name, bytes)) return "name outside Latin-1";
        text += "|" + bytes + "=" + describeValue(value);
    }
    return text;
}

// Empty when both readers agree on `text`; else what each read.
std::string disagreement(const std::string& text) {
    kobj::EncodedObject general;
    kobj::EncodedObject onePass;
    const std::string expected =
        describe(kobjtest::readWithGeneralParser(text, general), general, true);
    kobj::ReadError error;
    const bool accepted = kobj::readEncodedObject(text, onePass, error);
    if (accepted != kobj::readEncodedObject(text, onePass)) return "the readings with and without error differ";
    if (!accepted && (error.message.empty() || error.column < 1 || error.column > text.size() + 1)) {
        return "refused at column " + std::to_string(error.column) + ": " + error.message;
    }
    const std::string actual = describe(accepted, onePass, false);
    // A member name beyond Latin-1 is no property name: the one-pass reader refuses it early.
    if (expected == actual || (expected == "name outside Latin-1" && actual == "refused")) return "";
    return "general parser: " + expected + "\none-pass reader: " + actual;
}

std::vector<std::string> seeds() {
    HxInitialize_shared_code_manager();
    SCM::SCMBasicUtilityIdentity utility("rt_foo");
    utility.setSymbolString("sym\n\"q\"");
    SCM::SCMBasicUtilityData record("rt_foo_enc", "rt_foo");
    record.addModelName("m\xe9");
    record.addTraceability("m:x.c:1");
    SCM::SCMSharedFunctionIdentity function(1, 4294967295u, 0, 7);
    return {
        kobj::encodeObject(utility.toScriptValue()),
        kobj::encodeObject(record.toScriptValue()),
        kobj::encodeObject(function.toScriptValue()),
        " \t\r\n{ \"class\" : \"p.C\" , \"A\" : [ ] , \"B\" : [ \"x\" , \"\" ] , \"C\" : -0 } \n",
        "\xef\xbb\xbf{\"class\":\"p.C\",\"I\":-2147483648,\"U\":4294967295,\"Z\":0}",
        "{\"A\":true,\"class\":\"p\\u002eC\",\"S\":\"\\/\\b\\f\\n\\r\\t\\\"\\\\\\u00FF\\u0000\"}",
        "{\"class\":\"p.C\",\"R\":\"raw \xc3\xa9\xc2\x80 and \\u00e9\",\"\\u0041\":false}",
        "{\"class\":\"p.C\",\"E\":\"\\ud83d\\ude00\",\"N\":\"\xe2\x82\xac\"}",
    };
}

// Bytes that change a text's JSON meaning in interesting ways.
const std::string kMutationBytes = std::string("\"\\{}[],: 0-.eEu9tfn/\x1f\x7f", 23) +
                                   std::string("\x00\xc3\xa9\xff\xef", 5);

TEST(KobjEncodingReaderTest, AgreesWithAGeneralParserOnValidEncodings) {
    for (const std::string& text : seeds()) EXPECT_EQ(disagreement(text), "") << text;
}

TEST(KobjEncodingReaderTest, AgreesWithAGeneralParserOnEveryMutation) {
    int checked = 0;
    for (const std::string& seed : seeds()) {
        for (std::size_t at = 0; at <= seed.size(); ++at) {
            std::vector<std::string> variants = {seed.substr(0, at)};
            if (at < seed.size()) variants.push_back(seed.substr(0, at) + seed.substr(at + 1));
            for (char byte : kMutationBytes) {
                variants.push_back(seed.substr(0, at) + byte + seed.substr(at));
                if (at < seed.size()) variants.push_back(seed.substr(0, at) + byte + seed.substr(at + 1));
            }
            for (const std::string& text : variants) {
                ++checked;
                const std::string difference = disagreement(text);
                ASSERT_EQ(difference, "") << "text: " << text;
            }
        }
    }
    EXPECT_GT(checked, 10000);
}

// Each refusal says where (the 1-based column) and what, naming the property of a bad value.
TEST(KobjEncodingReaderTest, RefusalsSayWhatAndWhere) {
    struct Case {
        std::string value;  // of property "A"
        std::size_t column;
        const char* message;
    };
    const std::string kValueAt = "{\"class\":\"p.C\",\"A\":";  // the value starts at column 20
    const std::string deep = std::string(100000, '[') + std::string(100000, ']');
    const std::vector<Case> cases = {
        {"1.0", 20, "property \"A\": a number with a fraction"},
        {"1e3", 20, "property \"A\": a number with a fraction"},
        {"01", 21, "expected ',' or '}'"},
        {"-", 20, "property \"A\": not a value"},
        {"--1", 20, "property \"A\": not a value"},
        {"+1", 20, "property \"A\": not a value"},
        {"4294967296", 20, "property \"A\": the integer is out of range"},
        {"-2147483649", 20, "property \"A\": the integer is out of range"},
        {"99999999999999999999999", 20, "property \"A\": the integer is out of range"},
        {"0x10", 21, "expected ',' or '}'"},
        {"null", 20, "property \"A\": null is not a value"},
        {"[\"x\",[]]", 25, "property \"A\": a list holds texts only, not lists"},
        {deep, 21, "property \"A\": a list holds texts only, not lists"},
        {"{}", 20, "property \"A\": an object is not a value"},
        {"\"ab\\u0100\"", 23, "property \"A\": a character above U+00FF"},
        {"\"a\tb\"", 22, "property \"A\": a control character"},
        {"1,\"A\":2", 22, "property \"A\": given twice"},
        {"1,\"class\":\"q\"", 22, "\"class\" is given twice"},
    };
    for (const Case& row : cases) {
        const std::string text = kValueAt + row.value + "}";
        kobj::EncodedObject object;
        kobj::ReadError error;
        EXPECT_FALSE(kobj::readEncodedObject(text, object, error)) << row.value.substr(0, 40);
        EXPECT_EQ(error.column, row.column) << row.value.substr(0, 40);
        EXPECT_NE(error.message.find(row.message), std::string::npos)
            << row.value.substr(0, 40) << ": " << error.message;
        EXPECT_EQ(disagreement(text), "") << row.value.substr(0, 40);
    }
}

}  // namespace
