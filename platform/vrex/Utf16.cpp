#include "vrex/Utf16.hpp"

#include <cstdint>

namespace vrex {

namespace {

constexpr char16_t kEscapeBase = 0xDC00;  // a stray byte b becomes U+DC00 + b (b >= 0x80)

bool isContinuation(unsigned char byte) { return (byte & 0xC0) == 0x80; }

// Decodes one strict UTF-8 sequence at bytes[i]: no overlong forms, no surrogates, nothing above
// U+10FFFF. Returns its length (0 when invalid) and the code point in `codePoint`.
std::size_t decodeSequence(const std::string& bytes, std::size_t i, char32_t& codePoint) {
    auto byteAt = [&](std::size_t k) { return static_cast<unsigned char>(bytes[k]); };
    unsigned char lead = byteAt(i);
    std::size_t length;
    char32_t minimum;
    if (lead < 0x80) {
        codePoint = lead;
        return 1;
    } else if ((lead & 0xE0) == 0xC0) {
        length = 2, minimum = 0x80, codePoint = lead & 0x1F;
    } else if ((lead & 0xF0) == 0xE0) {
        length = 3, minimum = 0x800, codePoint = lead & 0x0F;
    } else if ((lead & 0xF8) == 0xF0) {
        length = 4, minimum = 0x10000, codePoint = lead & 0x07;
    } else {
        return 0;
    }
    if (i + length > bytes.size()) return 0;
    for (std::size_t k = 1; k < length; ++k) {
        if (!isContinuation(byteAt(i + k))) return 0;
        codePoint = (codePoint << 6) | (byteAt(i + k) & 0x3F);
    }
    bool surrogate = codePoint >= 0xD800 && codePoint <= 0xDFFF;
    if (codePoint < minimum || codePoint > 0x10FFFF || surrogate) return 0;
    return length;
}

void appendUtf8(std::string& out, char32_t codePoint) {
    if (codePoint < 0x80) {
        out += static_cast<char>(codePoint);
    } else if (codePoint < 0x800) {
        out += static_cast<char>(0xC0 | (codePoint >> 6));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else if (codePoint < 0x10000) {
        out += static_cast<char>(0xE0 | (codePoint >> 12));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    } else {
        out += static_cast<char>(0xF0 | (codePoint >> 18));
        out += static_cast<char>(0x80 | ((codePoint >> 12) & 0x3F));
        out += static_cast<char>(0x80 | ((codePoint >> 6) & 0x3F));
        out += static_cast<char>(0x80 | (codePoint & 0x3F));
    }
}

bool isHighSurrogate(char16_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
bool isLowSurrogate(char16_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

}  // namespace

std::u16string toUtf16(const std::string& bytes) {
    std::u16string text;
    text.reserve(bytes.size());
    for (std::size_t i = 0; i < bytes.size();) {
        char32_t codePoint = 0;
        std::size_t length = decodeSequence(bytes, i, codePoint);
        if (length == 0) {
            text += static_cast<char16_t>(kEscapeBase + static_cast<unsigned char>(bytes[i]));
            ++i;
        } else if (codePoint >= 0x10000) {
            codePoint -= 0x10000;
            text += static_cast<char16_t>(0xD800 + (codePoint >> 10));
            text += static_cast<char16_t>(0xDC00 + (codePoint & 0x3FF));
            i += length;
        } else {
            text += static_cast<char16_t>(codePoint);
            i += length;
        }
    }
    return text;
}

std::string fromUtf16(const std::u16string& text) {
    std::string bytes;
    bytes.reserve(text.size());
    for (std::size_t i = 0; i < text.size(); ++i) {
        char16_t unit = text[i];
        if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
            char32_t codePoint = 0x10000 + ((char32_t(unit) - 0xD800) << 10) + (text[i + 1] - 0xDC00);
            appendUtf8(bytes, codePoint);
            ++i;
        } else if (unit >= kEscapeBase + 0x80 && unit <= kEscapeBase + 0xFF) {
            bytes += static_cast<char>(unit - kEscapeBase);
        } else {
            appendUtf8(bytes, unit);
        }
    }
    return bytes;
}

}  // namespace vrex
