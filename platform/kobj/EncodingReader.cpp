#include "kobj/EncodingReader.hpp"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <limits>

#include "kobj/Conversions.hpp"
#include "kobj/JsonEscaping.hpp"

#ifdef __SSE2__
#include <emmintrin.h>
#endif

namespace kobj {

namespace {

// What a property value may be, for messages.
const char* const kValueKinds = " (a value is a text, true, false, an integer or a list of texts)";

// Bytes of a string that is only checked: none are kept, but an escape or a byte from 0x80 on
// (the only bytes that do not stand for themselves) makes the string not plain.
struct SkippedBytes {
    bool plain = true;

    void clear() { plain = true; }
    void append(const char*, std::size_t) {}
    SkippedBytes& operator+=(char) {
        plain = false;
        return *this;
    }
};

// Reads the encoding's JSON in one pass, with no tree and no recursion: the encoding nests no
// deeper than a list of texts, and anything deeper is refused where it starts. It accepts exactly
// the JSON texts that have the encoding's shape (RFC 8259; an optional UTF-8 byte order mark
// first; anything after a NUL byte that follows the object ignored), and maps strings to bytes as
// JsonEscaping.hpp says: raw UTF-8 and \u escapes alike must stay within U+0000..U+00FF. Member
// names go through the same mapping, so a name outside Latin-1 is refused (no published
// property has one). A scan checks the whole text and notes where each string lies, building no
// string; the strings of a scanned text are decoded afterwards by the same reader. Given a
// ReadError, it fills it at the first fault; messages are built only then, so the reading of good
// texts costs the same either way.
class EncodedObjectReader {
public:
    EncodedObjectReader(const char* next, const char* end, ReadError* error)
        : begin_(next), next_(next), end_(end), error_(error) {}

    // A whole text: the object, then nothing but white space (or a NUL byte and anything).
    bool scan(ScannedObject& object) {
        skipByteOrderMark();
        if (!scanObject(object)) return false;
        skipSpace();
        // A NUL byte after the object ends the text, as general JSON parsers read it.
        if (next_ == end_ || *next_ == '\0') return true;
        return fail("unexpected text after the object");
    }

    // White space, then one object; stops right after its closing brace.
    bool scanObject(ScannedObject& object) {
        object.clear();
        if (!take('{')) return fail("expected an object ('{')");
        bool sawClass = false;
        if (!take('}')) {
            do {
                if (!scanMember(object, sawClass)) return false;
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

    // The texts of a scanned list, which starts here. A text without escapes is made in one go.
    std::vector<std::string> readScannedTexts(std::size_t count) {
        std::vector<std::string> texts;
        texts.reserve(count);
        take('[');
        for (std::size_t i = 0; i < count; ++i) {
            take('"');
            const char* const plainEnd = skipPlainBytes(next_);
            if (plainEnd != end_ && *plainEnd == '"') {
                texts.emplace_back(next_, plainEnd);
                next_ = plainEnd + 1;
            } else {
                readString(texts.emplace_back());
            }
            take(',');
        }
        return texts;
    }

    const char* position() const { return next_; }

private:
    bool scanMember(ScannedObject& object, bool& sawClass) {
        ScannedMember member{};
        if (!scanQuotedString(member.name, "expected a member name in quotes")) return false;
        const char* const nameAt = member.name.begin - 1;
        if (!take(':')) return fail("expected ':' after the member name");
        if (isClass(member.name)) return scanClass(object, sawClass, nameAt);
        const std::uint64_t lengthBit = nameLengthBit(member.name);
        const bool repeated = (nameLengthsSeen_ & lengthBit) != 0 &&
                              std::any_of(object.begin(), object.end(), [&](const ScannedMember& other) {
                                  return sameText(other.name, member.name);
                              });
        if (repeated) return failIn(member.name, fail("given twice", nameAt));
        if (!scanValue(member.value)) return failIn(member.name, false);
        object.add(member);
        nameLengthsSeen_ |= lengthBit;
        return true;
    }

    // The bit of a member name's length in nameLengthsSeen_: bit n for a plain name of n bytes
    // (63 for longer ones), every bit for an escaped name, whose decoded length is not known here.
    static std::uint64_t nameLengthBit(const ScannedString& name) {
        if (!name.plain) return ~std::uint64_t(0);
        return std::uint64_t(1) << std::min<std::ptrdiff_t>(name.end - name.begin, 63);
    }

    bool scanClass(ScannedObject& object, bool& sawClass, const char* nameAt) {
        if (sawClass) return fail("\"class\" is given twice", nameAt);
        if (!scanQuotedString(object.className, "\"class\" must be a string")) return false;
        sawClass = true;
        return object.className.begin != object.className.end || fail("\"class\" is empty");
    }

    // A property value: a string, true, false, an integer, or an array of strings.
    bool scanValue(ScannedValue& value) {
        skipSpace();
        if (next_ == end_) return fail("the value is missing");
        switch (*next_) {
            case '"':
                value.kind = ScannedValue::Kind::Text;
                return scanQuotedString(value.text, "expected a string");
            case 't':
            case 'f': {
                const char* const start = next_;
                const bool logical = *next_ == 't';
                if (!readWord(logical ? "true" : "false")) {
                    return failWith("not a value", kValueKinds, start);
                }
                value.kind = ScannedValue::Kind::Logical;
                value.number = logical ? 1 : 0;
                return true;
            }
            case '[': return scanCells(value);
            case 'n': return failWith("null is not a value", kValueKinds);
            case '{': return failWith("an object is not a value", kValueKinds);
            default: return scanInteger(value);
        }
    }

    bool scanCells(ScannedValue& value) {
        value.kind = ScannedValue::Kind::Texts;
        value.text.begin = next_++;
        value.number = 0;
        if (!take(']')) {
            do {
                ScannedString cell{};
                if (!take('"')) {
                    const bool nested = next_ != end_ && *next_ == '[';
                    return fail(nested ? "a list holds texts only, not lists" : "a list holds texts only");
                }
                if (!scanString(cell)) return false;
                ++value.number;
            } while (take(','));
            if (!take(']')) return fail("expected ',' or ']' in the list");
        }
        value.text.end = next_;
        return true;
    }

    // -?(0|[1-9][0-9]*): negative values as int32, the others as uint32. A fraction or an
    // exponent makes a JSON number that is no integer: refused, like values out of range.
    bool scanInteger(ScannedValue& value) {
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
            value.kind = ScannedValue::Kind::Int32;
            value.number = -static_cast<std::int64_t>(magnitude);
            return true;
        }
        if (magnitude > std::numeric_limits<std::uint32_t>::max()) return fail(kOutOfRange, start);
        value.kind = ScannedValue::Kind::UInt32;
        value.number = static_cast<std::int64_t>(magnitude);
        return true;
    }

    // White space, then a string, checked and located; `missing` says what was expected.
    bool scanQuotedString(ScannedString& scanned, const char* missing) {
        if (!take('"')) return fail(missing);
        return scanString(scanned);
    }

    // The rest of a string whose opening quote was taken, checked and located.
    bool scanString(ScannedString& scanned) {
        SkippedBytes bytes;
        scanned.begin = next_;
        if (!readString(bytes)) return false;
        scanned.end = next_ - 1;
        scanned.plain = bytes.plain;
        return true;
    }

    // The rest of a string whose opening quote was taken, as bytes.
    template <class Bytes>
    bool readString(Bytes& bytes) {
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

    template <class Bytes>
    bool readEscape(Bytes& bytes) {
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

    // Skips white space, then takes `c` when it comes next; most often `c` is the next byte.
    bool take(char c) {
        if (next_ != end_ && *next_ == c) {
            ++next_;
            return true;
        }
        skipSpace();
        if (next_ == end_ || *next_ != c) return false;
        ++next_;
        return true;
    }

    // One comparison for the usual next byte, which is no white space.
    void skipSpace() {
        while (next_ != end_ && static_cast<unsigned char>(*next_) <= ' ' &&
               (*next_ == ' ' || *next_ == '\n' || *next_ == '\r' || *next_ == '\t')) {
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
    bool failIn(const ScannedString& name, bool result) {
        if (error_ != nullptr) {
            error_->message = "property " + json::quotedExcerpt(decodedText(name)) + ": " + error_->message;
        }
        return result;
    }

    void skipByteOrderMark() {
        if (end_ - next_ >= 3 && std::memcmp(next_, "\xef\xbb\xbf", 3) == 0) next_ += 3;
    }

    static bool isClass(const ScannedString& name) {
        return name.plain ? name.raw() == "class" : decodedText(name) == "class";
    }

    // Plain names are told apart by their length and first byte before their bytes are compared.
    static bool sameText(const ScannedString& left, const ScannedString& right) {
        if (!left.plain || !right.plain) return decodedText(left) == decodedText(right);
        const std::size_t size = static_cast<std::size_t>(left.end - left.begin);
        return size == static_cast<std::size_t>(right.end - right.begin) &&
               (size == 0 || (*left.begin == *right.begin && std::memcmp(left.begin, right.begin, size) == 0));
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

    const char* const begin_;
    const char* next_;
    const char* end_;
    ReadError* const error_;  // the caller's, or null when no error is wanted
    // The lengths of the member names scanned so far (see nameLengthBit): a name whose bit is not
    // set cannot repeat an earlier one, and is not compared with them.
    std::uint64_t nameLengthsSeen_ = 0;
};

qaArray valueOf(const ScannedValue& value) {
    switch (value.kind) {
        case ScannedValue::Kind::Text: return qaArray::fromText(decodedText(value.text));
        case ScannedValue::Kind::Logical: return qaArray::fromLogical(value.number != 0);
        case ScannedValue::Kind::Int32: return qaArray::fromInt32(static_cast<std::int32_t>(value.number));
        case ScannedValue::Kind::UInt32: return qaArray::fromUInt32(static_cast<std::uint32_t>(value.number));
        case ScannedValue::Kind::Texts: return textListValue(decodedTexts(value));
    }
    return qaArray();
}

// The scanned object's names and values, decoded.
void decode(const ScannedObject& scanned, EncodedObject& object) {
    object.className = decodedText(scanned.className);
    object.properties.reserve(scanned.size());
    for (const ScannedMember& member : scanned) {
        object.properties.emplace_back(decodedText(member.name), valueOf(member.value));
    }
}

bool readAt(const char*& next, const char* end, EncodedObject& object, ReadError* error) {
    object = EncodedObject();
    ScannedObject scanned;
    EncodedObjectReader reader(next, end, error);
    if (!reader.scanObject(scanned)) return false;
    decode(scanned, object);
    next = reader.position();
    return true;
}

bool read(const std::string& text, EncodedObject& object, ReadError* error) {
    object = EncodedObject();
    ScannedObject scanned;
    if (!EncodedObjectReader(text.data(), text.data() + text.size(), error).scan(scanned)) return false;
    decode(scanned, object);
    return true;
}

}  // namespace

bool scanEncodedObject(const std::string& text, ScannedObject& object) {
    return EncodedObjectReader(text.data(), text.data() + text.size(), nullptr).scan(object);
}

std::string decodedText(const ScannedString& scanned) {
    if (scanned.plain) return std::string(scanned.raw());
    std::string bytes;
    EncodedObjectReader(scanned.begin - 1, scanned.end + 1, nullptr).readQuotedString(bytes);
    return bytes;
}

std::vector<std::string> decodedTexts(const ScannedValue& list) {
    return EncodedObjectReader(list.text.begin, list.text.end, nullptr)
        .readScannedTexts(static_cast<std::size_t>(list.number));
}

bool readEncodedObject(const std::string& text, EncodedObject& object) {
    return read(text, object, nullptr);
}

bool readEncodedObject(const std::string& text, EncodedObject& object, ReadError& error) {
    return read(text, object, &error);
}

bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object) {
    return readAt(next, end, object, nullptr);
}

bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object,
                         ReadError& error) {
    return readAt(next, end, object, &error);
}

bool readEncodedString(const char*& next, const char* end, std::string& bytes, ReadError& error) {
    EncodedObjectReader reader(next, end, &error);
    if (!reader.readQuotedString(bytes)) return false;
    next = reader.position();
    return true;
}

}  // namespace kobj
