#include "kobj/JsonEscaping.hpp"

namespace kobj::json {

namespace {

const char kHexDigits[] = "0123456789abcdef";

void appendEscape(std::string& out, unsigned char byte) {
    switch (byte) {
        case '"': out += "\\\""; return;
        case '\\': out += "\\\\"; return;
        case '\b': out += "\\b"; return;
        case '\f': out += "\\f"; return;
        case '\n': out += "\\n"; return;
        case '\r': out += "\\r"; return;
        case '\t': out += "\\t"; return;
        default:
            out += "\\u00";
            out += kHexDigits[byte >> 4];
            out += kHexDigits[byte & 0x0f];
    }
}

}  // namespace

StringBytes::StringBytes() {
    for (int byte = 0x20; byte < 0x80; ++byte) {
        read[byte] = byte != '"' && byte != '\\';
        written[byte] = read[byte] && byte != 0x7f;
    }
}

const StringBytes kStringBytes;

void appendString(std::string& out, const std::string& bytes) {
    out += '"';
    const char* next = bytes.data();
    const char* const end = next + bytes.size();
    while (next != end) {
        const char* run = next;
        while (next != end && kStringBytes.written[static_cast<unsigned char>(*next)]) ++next;
        out.append(run, static_cast<std::size_t>(next - run));
        if (next != end) appendEscape(out, static_cast<unsigned char>(*next++));
    }
    out += '"';
}

std::string quotedExcerpt(const std::string& bytes, std::size_t limit) {
    std::string out;
    appendString(out, bytes.substr(0, limit));
    if (bytes.size() > limit) out.insert(out.size() - 1, "...");
    return out;
}

}  // namespace kobj::json
