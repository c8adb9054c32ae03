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

// A validated UTF-8 text holds code points up to U+00FF as single bytes (ASCII) or as the
// two-byte sequences that start with 0xC2 or 0xC3; any other lead byte means a larger code point.
bool bytesFromUtf8(const std::string& utf8, std::string& bytes) {
    bytes.clear();
    bytes.reserve(utf8.size());
    for (std::size_t i = 0; i < utf8.size(); ++i) {
        const auto lead = static_cast<unsigned char>(utf8[i]);
        if (lead < 0x80) {
            bytes += static_cast<char>(lead);
            continue;
        }
        if ((lead != 0xc2 && lead != 0xc3) || i + 1 >= utf8.size()) return false;
        const auto trail = static_cast<unsigned char>(utf8[++i]);
        if ((trail & 0xc0) != 0x80) return false;
        bytes += static_cast<char>(((lead & 0x03) << 6) | (trail & 0x3f));
    }
    return true;
}

}  // namespace kobj::json
