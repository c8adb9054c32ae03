#include "kobj/EncodingReader.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "kobj/JsonEscaping.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kobj {

namespace {

// What a property value may be, for messages.
const char* const kValueKinds = " (a value is a text, true, false, an integer or a list of texts)";

// Reads the encoding's JSON in one pass, with no tree and no recursion: the encoding nests no
// deeper than a list of texts, and anything deeper is refused where it starts. It accepts exactly
// the JSON texts that have the encoding's shape (RFC 8259; an optional UTF-8 byte order mark
// first; anything after a NUL byte that follows the object ignored), and maps strings to bytes as
// JsonEscaping.hpp says: raw UTF-8 and \u escapes alike must stay within U+0000..U+00FF. Member
// names go through the same mapping, so a name outside Latin-1 is refused (no published
// property has one). Given a ReadError, it fills it at the first fault; messages are built only
// then, so the reading of good texts costs the same either way.
class EncodedObjectReader {
public:
    EncodedObjectReader(const char* next, const char* end, ReadError* error)
        : begin_(next), next_(next), end_(end), error_(error) {}

    // A whole text: the object, then nothing but white space (or a NUL byte and anything).
    bool read(EncodedObject& object) {
        skipByteOrderMark();
        if (!readObject(object)) return false;
        skipSpace();
        // A NUL byte after the object ends the text, as general JSON parsers read it.
        if (next_ == end_ || *next_ == '\0') return true;
        return fail("unexpected text after the object");
    }

    // White space, then one object; stops right after its closing brace.
    bool readObject(EncodedObject& object) {
        if (!take('{')) return fail("expected an object ('{')");
        object.properties.reserve(kUsualProperties);
        bool sawClass = false;
        if (!take('}')) {
            do {
                if (!readMember(object, sawClass)) return false;
            } while (take(','));
            if (!take('}')) return fail("expected ',' or '}' after a member");
        }
        return sawClass || fail("the object has no \"class\" member");
    }

    // White space, then one string as bytes.
    bool readQuotedString(std::string& bytes) {
        if (!take('"')) return fail("expected a string");
        return readString(bytes);
    }

    const char* position() const { return next_; }

private:
    bool readMember(EncodedObject& object, bool& sawClass) {
        std::string name;
        if (!take('"')) return fail("expected a member name in quotes");
        const char* const nameAt = next_ - 1;
        if (!readString(name)) return false;
        if (!take(':')) return fail("expected ':' after the member name");
        if (name.size() == 5 && name == "class") return readClass(object, sawClass, nameAt);
        const bool repeated = std::any_of(object.properties.begin(), object.properties.end(),
                                          [&](const auto& property) { return property.first == name; });
        if (repeated) return failIn(name, fail("given twice", nameAt));
        return readValue(name, object.properties) || failIn(name, false);
    }

    bool readClass(EncodedObject& object, bool& sawClass, const char* nameAt) {
        if (sawClass) return fail("\"class\" is given twice", nameAt);
        if (!take('"')) return fail("\"class\" must be a string");
        if (!readString(object.className)) return false;
        sawClass = true;
        return !object.className.empty() || fail("\"class\" is empty");
    }

    // A property value (a string, true, false, an integer, or an array of strings), appended to
    // `properties` under `name`, which it takes over on success.
    bool readValue(std::string& name, std::vector<std::pair<std::string, qaArray>>& properties) {
        skipSpace();
        if (next_ == end_) return fail("the value is missing");
        switch (*next_) {
            case '"': {
                ++next_;
                std::string bytes;
                if (!readString(bytes)) return false;
                properties.emplace_back(std::move(name), qaArray::fromText(std::move(bytes)));
                return true;
            }
            case 't':
            case 'f': {
                const char* const start = next_;
                const bool logical = *next_ == 't';
                if (!readWord(logical ? "true" : "false")) {
                    return failWith("not a value", kValueKinds, start);
                }
                properties.emplace_back(std::move(name), qaArray::fromLogical(logical));
                return true;
            }
            case '[': {
                ++next_;
                qaArray cells;
                if (!readCells(cells)) return false;
                properties.emplace_back(std::move(name), std::move(cells));
                return true;
            }
            case 'n': return failWith("null is not a value", kValueKinds);
            case '{': return failWith("an object is not a value", kValueKinds);
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
                if (!take('"')) {
                    const bool nested = next_ != end_ && *next_ == '[';
                    return fail(nested ? "a list holds texts only, not lists" : "a list holds texts only");
                }
                if (!readString(bytes)) return false;
                cells.push_back(qaArray::fromText(std::move(bytes)));
            } while (take(','));
            if (!take(']')) return fail("expected ',' or ']' in the list");
        }
        value = qaArray::cellColumn(std::move(cells));
        return true;
    }

    // -?(0|[1-9][0-9]*): negative values as int32, the others as uint32. A fraction or an
    // exponent makes a JSON number that is no integer: refused, like values out of range.
    bool readInteger(qaArray& value) {
        const char* const start = next_;
        const bool negative = next_ != end_ && *next_ == '-';
        if (negative) ++next_;
        if (next_ == end_ || !isDigit(*next_)) return failWith("not a value", kValueKinds, start);
        std::uint64_t magnitude = 0;
        const bool leadingZero = *next_ == '0';
        do {
            magnitude = std::min<std::uint64_t>(magnitude * 10 + (*next_ - '0'), kTooLarge);
            ++next_;
        } while (!leadingZero && next_ != end_ && isDigit(*next_));
        if (next_ != end_ && (*next_ == '.' || *next_ == 'e' || *next_ == 'E')) {
            return fail("a number with a fraction or an exponent is no integer", start);
        }
        if (negative) {
            if (magnitude > std::uint64_t(std::numeric_limits<std::int32_t>::max()) + 1) {
                return fail(kOutOfRange, start);
            }
            value = qaArray::fromInt32(static_cast<std::int32_t>(-static_cast<std::int64_t>(magnitude)));
            return true;
        }
        if (magnitude > std::numeric_limits<std::uint32_t>::max()) return fail(kOutOfRange, start);
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
            if (next_ == end_) break;
            const auto byte = static_cast<unsigned char>(*next_++);
            if (byte == '"') return true;
            if (byte == '\\') {
                if (!readEscape(bytes)) return false;
            } else if ((byte == 0xc2 || byte == 0xc3) && next_ != end_ &&
                       (static_cast<unsigned char>(*next_) & 0xc0) == 0x80) {
                bytes += static_cast<char>(((byte & 0x03) << 6) | (*next_++ & 0x3f));
            } else if (byte < 0x20) {
                return fail("a control character in a string must be escaped", next_ - 1);
            } else {
                return fail(kBeyondLatin1, next_ - 1);  // invalid UTF-8, or beyond U+00FF
            }
        }
        return fail("the string is not closed");
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
        while (from != end_ && json::kStringBytes.read[static_cast<unsigned char>(*from)]) ++from;
        return from;
    }

    bool readEscape(std::string& bytes) {
        const char* const start = next_ - 1;
        if (next_ == end_) return fail("the string is not closed");
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
            default: return fail("invalid escape", start);
        }
        if (end_ - next_ < 4) return fail("invalid \\u escape", start);
        unsigned codeUnit = 0;
        for (int i = 0; i < 4; ++i) {
            const int digit = hexDigit(*next_++);
            if (digit < 0) return fail("invalid \\u escape", start);
            codeUnit = codeUnit * 16 + static_cast<unsigned>(digit);
        }
        if (codeUnit > 0xff) return fail(kBeyondLatin1, start);  // surrogates included
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

    // Records the fault at `at` (the current position by default) when an error is wanted;
    // returns false.
    bool fail(const char* what, const char* at = nullptr) {
        if (error_ != nullptr) {
            error_->column = static_cast<std::size_t>((at != nullptr ? at : next_) - begin_) + 1;
            error_->message = what;
        }
        return false;
    }

    // The same with `why` after `what`.
    bool failWith(const char* what, const char* why, const char* at = nullptr) {
        fail(what, at);
        if (error_ != nullptr) error_->message += why;
        return false;
    }

    // Puts the name of the property being read before the recorded message; returns `result`.
    bool failIn(const std::string& name, bool result) {
        if (error_ != nullptr) {
            error_->message = "property " + json::quotedExcerpt(name) + ": " + error_->message;
        }
        return result;
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

    static constexpr const char* kOutOfRange =
        "the integer is out of range (-2147483648 to 4294967295)";
    static constexpr const char* kBeyondLatin1 =
        "a character above U+00FF (texts are bytes: write them as \\u0000 to \\u00ff)";
    static constexpr std::uint64_t kTooLarge = std::uint64_t(1) << 40;
    // Room reserved up front: the library's classes have up to 12 properties, lists a few names.
    static constexpr std::size_t kUsualProperties = 12;
    static constexpr std::size_t kUsualCells = 4;

    const char* const begin_;
    const char* next_;
    const char* end_;
    ReadError* const error_;  // the caller's, or null when no error is wanted
};

}  // namespace

bool readEncodedObject(const std::string& text, EncodedObject& object) {
    object = EncodedObject();
    return EncodedObjectReader(text.data(), text.data() + text.size(), nullptr).read(object);
}

bool readEncodedObject(const std::string& text, EncodedObject& object, ReadError& error) {
    object = EncodedObject();
    return EncodedObjectReader(text.data(), text.data() + text.size(), &error).read(object);
}

bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object) {
    object = EncodedObject();
    EncodedObjectReader reader(next, end, nullptr);
    if (!reader.readObject(object)) return false;
    next = reader.position();
    return true;
}

bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object,
                         ReadError& error) {
    object = EncodedObject();
    EncodedObjectReader reader(next, end, &error);
    if (!reader.readObject(object)) return false;
    next = reader.position();
    return true;
}

bool readEncodedString(const char*& next, const char* end, std::string& bytes, ReadError& error) {
    EncodedObjectReader reader(next, end, &error);
    if (!reader.readQuotedString(bytes)) return false;
    next = reader.position();
    return true;
}

}  // namespace kobj
