#include "ValueText.hpp"

#include <algorithm>

#include "kobj/JsonEscaping.hpp"

namespace scm_tool {

std::string quotedText(const std::string& bytes) {
    std::string text;
    kobj::json::appendString(text, bytes);
    return text;
}

std::string cellText(const std::string& bytes) {
    const bool plain = !bytes.empty() && std::all_of(bytes.begin(), bytes.end(), [](char c) {
        return c > ' ' && c < 0x7f && c != '"' && c != '\\';
    });
    return plain ? bytes : quotedText(bytes);
}

std::string displayText(const qaArray& value) {
    switch (value.kind()) {
        case qaArray::Kind::Char: return quotedText(value.text());
        case qaArray::Kind::Logical: return value.logical() ? "true" : "false";
        case qaArray::Kind::Int32: return std::to_string(value.int32Value());
        case qaArray::Kind::UInt32: return std::to_string(value.uint32Value());
        case qaArray::Kind::Cell: {
            std::string text = "[";
            for (const qaArray& cell : value.cells()) {
                text += (text.size() > 1 ? ", " : "") + displayText(cell);
            }
            return text + "]";
        }
        case qaArray::Kind::Object: return "<" + value.className() + ">";
        case qaArray::Kind::Empty: break;
    }
    return "[]";
}

nlohmann::ordered_json jsonText(const std::string& bytes) {
    std::string utf8;
    utf8.reserve(bytes.size());
    for (const char c : bytes) {
        const unsigned char byte = static_cast<unsigned char>(c);
        if (byte < 0x80) {
            utf8 += c;
        } else {
            utf8 += static_cast<char>(0xC0 | (byte >> 6));
            utf8 += static_cast<char>(0x80 | (byte & 0x3F));
        }
    }
    return utf8;
}

nlohmann::ordered_json jsonValue(const qaArray& value) {
    switch (value.kind()) {
        case qaArray::Kind::Char: return jsonText(value.text());
        case qaArray::Kind::Logical: return value.logical();
        case qaArray::Kind::Int32: return value.int32Value();
        case qaArray::Kind::UInt32: return value.uint32Value();
        case qaArray::Kind::Cell: {
            nlohmann::ordered_json list = nlohmann::ordered_json::array();
            for (const qaArray& cell : value.cells()) list.push_back(jsonValue(cell));
            return list;
        }
        case qaArray::Kind::Object: return value.className();
        case qaArray::Kind::Empty: break;
    }
    return nullptr;
}

}  // namespace scm_tool
