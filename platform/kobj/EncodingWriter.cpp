#include "kobj/EncodingWriter.hpp"

#include "kobj/JsonEscaping.hpp"

namespace kobj {

void appendEncodedValue(std::string& out, const std::string& text) {
    json::appendString(out, text);
}

void appendEncodedValue(std::string& out, const std::vector<std::string>& texts) {
    out += '[';
    for (std::size_t i = 0; i < texts.size(); ++i) {
        if (i != 0) out += ',';
        json::appendString(out, texts[i]);
    }
    out += ']';
}

void appendEncodedValue(std::string& out, bool flag) { out += flag ? "true" : "false"; }

void appendEncodedValue(std::string& out, std::int32_t number) { out += std::to_string(number); }

void appendEncodedValue(std::string& out, std::uint32_t number) { out += std::to_string(number); }

}  // namespace kobj
