#include "kobj/EncodedObject.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kobj {

namespace {

// The bytes that stand for themselves inside a JSON string of the encoding: printable ASCII and
// DEL, but for the quote and the backslash.
struct PlainBytes {
    bool isPlain[256] = {};
    PlainBytes() {
        for (int byte = 0x20; byte < 0x80; ++byte) isPlain[byte] = byte != '"' && byte != '\\';
    }
};
const PlainBytes kPlainBytes;

// Reads the encoding's JSON in one pass, with no tree and no recursion. It accepts exactly the
// JSON texts that have the encoding's shape (RFC 8259; an optional UTF-8 byte order mark first;
// anything after a NUL byte that follows the object ignored), and maps strings to bytes as
// JsonText.hpp says: raw UTF-8 and \u escapes alike must stay within U+0000..U+00FF. Member
// names go through the same mapping, so a name outside Latin-1 is refused (no published
// property has one).
class EncodedObjectReader {
public:
    EncodedObjectReader(const char* next, const char* end) : next_(next), end_(end) {}

    // A whole text: the object, then nothing but white space (or a NUL byte and anything).
    bool read(EncodedObject& object) {
        skipByteOrderMark();
        if (!readObject(object)) return false;
        skipSpace();
        // A NUL byte after the object ends the text, as general JSON parsers read it.
        return next_ == end_ || *next_ == '\0';
    }

    // White space, then one object; stops right after its closing brace.
    bool readObject(EncodedObject& object) {
        if (!take('{')) return false;
        object.properties.reserve(kUsualProperties);
        bool sawClass = false;
        if (!take('}')) {
            do {
                if (!readMember(object, sawClass)) return false;
            } while (take(','));
            if (!take('}')) return false;
        }
        return sawClass;
    }

    const char* position() const { return next_; }

private:
    bool readMember(EncodedObject& object, bool& sawClass) {
        std::string name;
        if (!take('"') || !readString(name) || !take(':')) return false;
        if (name.size() == 5 && name == "class") {
            if (sawClass || !take('"') || !readString(object.className)) return false;
            sawClass = true;
            return !object.className.empty();
        }
        const bool repeated = std::any_of(object.properties.begin(), object.properties.end(),
                                          [&](const auto& property) { return property.first == name; });
        if (repeated) return false;
        return readValue(std::move(name), object.properties);
    }

    // A property value (a string, true, false, an integer, or an array of strings), appended to
    // `properties` under `name`.
    bool readValue(std::string name, std::vector<std::pair<std::string, qaArray>>& properties) {
        skipSpace();
        if (next_ == end_) return false;
        switch (*next_) {
            case '"': {
                ++next_;
                std::string bytes;
                if (!readString(bytes)) return false;
                properties.emplace_back(std::move(name), qaArray::fromText(std::move(bytes)));
                return true;
            }
            case 't':
                if (!readWord("true")) return false;
                properties.emplace_back(std::move(name), qaArray::fromLogical(true));
                return true;
            case 'f':
                if (!readWord("false")) return false;
                properties.emplace_back(std::move(name), qaArray::fromLogical(false));
                return true;
            case '[': {
                ++next_;
                qaArray cells;
                if (!readCells(cells)) return false;
                properties.emplace_back(std::move(name), std::move(cells));
                return true;
            }
            default: {
                qaArray number;
                if (!readInteger(number)) return false;
                properties.emplace_back(std::move(name), std::move(number));
                return true;
            }
        }
    }

    bool readCells(qaArray& value) {
        std::vector<qaArray> cells;
        cells.reserve(kUsualCells);
        if (!take(']')) {
            do {
                std::string bytes;
                if (!take('"') || !readString(bytes)) return false;
                cells.push_back(qaArray::fromText(std::move(bytes)));
            } while (take(','));
            if (!take(']')) return false;
        }
        value = qaArray::cellColumn(std::move(cells));
        return true;
    }

    // -?(0|[1-9][0-9]*): negative values as int32, the others as uint32. A fraction or an
    // exponent makes a JSON number that is no integer: refused, like values out of range.
    bool readInteger(qaArray& value) {
        const bool negative = next_ != end_ && *next_ == '-';
        if (negative) ++next_;
        if (next_ == end_ || !isDigit(*next_)) return false;
        std::uint64_t magnitude = 0;
        const bool leadingZero = *next_ == '0';
        do {
            magnitude = std::min<std::uint64_t>(magnitude * 10 + (*next_ - '0'), kTooLarge);
            ++next_;
        } while (!leadingZero && next_ != end_ && isDigit(*next_));
        if (next_ != end_ && (*next_ == '.' || *next_ == 'e' || *next_ == 'E')) return false;
        if (negative) {
            if (magnitude > std::uint64_t(std::numeric_limits<std::int32_t>::max()) + 1) return false;
            value = qaArray::fromInt32(static_cast<std::int32_t>(-static_cast<std::int64_t>(magnitude)));
            return true;
        }
        if (magnitude > std::numeric_limits<std::uint32_t>::max()) return false;
        value = qaArray::fromUInt32(static_cast<std::uint32_t>(magnitude));
        return true;
    }

    // The rest of a string whose opening quote was taken, as bytes.
    bool readString(std::string& bytes) {
        bytes.clear();
        while (next_ != end_) {
            const char* run = next_;
            const char* runEnd = skipPlainBytes(run);
            bytes.append(run, static_cast<std::size_t>(runEnd - run));
            next_ = runEnd;
            if (next_ == end_) return false;
            const auto byte = static_cast<unsigned char>(*next_++);
            if (byte == '"') return true;
            if (byte == '\\') {
                if (!readEscape(bytes)) return false;
            } else if ((byte == 0xc2 || byte == 0xc3) && next_ != end_ &&
                       (static_cast<unsigned char>(*next_) & 0xc0) == 0x80) {
                bytes += static_cast<char>(((byte & 0x03) << 6) | (*next_++ & 0x3f));
            } else {
                return false;  // a control character, invalid UTF-8, or a code point above U+00FF
            }
        }
        return false;
    }

    // The first byte at or after `from` that does not stand for itself, or the end.
    const char* skipPlainBytes(const char* from) const {
#ifdef __SSE2__
        // Sixteen bytes at a time: a byte is special when it is the quote, the backslash, or
        // below 0x20 as a signed byte (control characters and every byte from 0x80 on).
        const __m128i quote = _mm_set1_epi8('"');
        const __m128i backslash = _mm_set1_epi8('\\');
        const __m128i space = _mm_set1_epi8(0x20);
        while (end_ - from >= 16) {
            const __m128i bytes = _mm_loadu_si128(reinterpret_cast<const __m128i*>(from));
            const __m128i quoteOrBackslash =
                _mm_or_si128(_mm_cmpeq_epi8(bytes, quote), _mm_cmpeq_epi8(bytes, backslash));
            const __m128i special = _mm_or_si128(quoteOrBackslash, _mm_cmplt_epi8(bytes, space));
            const int mask = _mm_movemask_epi8(special);
            if (mask != 0) return from + __builtin_ctz(static_cast<unsigned>(mask));
            from += 16;
        }
#endif
        while (from != end_ && kPlainBytes.isPlain[static_cast<unsigned char>(*from)]) ++from;
        return from;
    }

    bool readEscape(std::string& bytes) {
        if (next_ == end_) return false;
        switch (*next_++) {
            case '"': bytes += '"'; return true;
            case '\\': bytes += '\\'; return true;
            case '/': bytes += '/'; return true;
            case 'b': bytes += '\b'; return true;
            case 'f': bytes += '\f'; return true;
            case 'n': bytes += '\n'; return true;
            case 'r': bytes += '\r'; return true;
            case 't': bytes += '\t'; return true;
            case 'u': break;
            default: return false;
        }
        if (end_ - next_ < 4) return false;
        unsigned codeUnit = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = hexDigit(*next_++);
            if (digit < 0) return false;
            codeUnit = codeUnit * 16 + static_cast<unsigned>(digit);
        }
        if (codeUnit > 0xff) return false;  // beyond Latin-1, surrogates included
        bytes += static_cast<char>(codeUnit);
        return true;
    }

    bool readWord(const char* word) {
        for (; *word != '\0'; ++word, ++next_) {
            if (next_ == end_ || *next_ != *word) return false;
        }
        return true;
    }

    // Skips white space, then takes `c` when it comes next.
    bool take(char c) {
        skipSpace();
        if (next_ == end_ || *next_ != c) return false;
        ++next_;
        return true;
    }

    void skipSpace() {
        while (next_ != end_ && (*next_ == ' ' || *next_ == '\n' || *next_ == '\r' || *next_ == '\t')) {
            ++next_;
        }
    }

    void skipByteOrderMark() {
        if (end_ - next_ >= 3 && std::string(next_, 3) == "\xef\xbb\xbf") next_ += 3;
    }

    static bool isDigit(char c) { return c >= '0' && c <= '9'; }
    static int hexDigit(char c) {
        if (c >= '0' && c <= '9') return c - '0';
        if (c >= 'a' && c <= 'f') return c - 'a' + 10;
        if (c >= 'A' && c <= 'F') return c - 'A' + 10;
        return -1;
    }

    static constexpr std::uint64_t kTooLarge = std::uint64_t(1) << 40;
    // Room reserved up front: the library's classes have up to 12 properties, lists a few names.
    static constexpr std::size_t kUsualProperties = 12;
    static constexpr std::size_t kUsualCells = 4;

    const char* next_;
    const char* end_;
};

}  // namespace

bool readEncodedObject(const std::string& text, EncodedObject& object) {
    object = EncodedObject();
    return EncodedObjectReader(text.data(), text.data() + text.size()).read(object);
}

bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object) {
    object = EncodedObject();
    EncodedObjectReader reader(next, end);
    if (!reader.readObject(object)) return false;
    next = reader.position();
    return true;
}

}  // namespace kobj
