#include "JsonScan.hpp"

#include <charconv>
#include <cstring>
#include <string>

namespace bench {

namespace {

class Scanner {
public:
    Scanner(const char* text, std::size_t size) : at_(text), end_(text + size) {}

    bool document() {
        skipSpace();
        if (!value(0)) return false;
        skipSpace();
        return at_ == end_;
    }

private:
    static constexpr int kMaxDepth = 512;

    bool value(int depth) {
        if (depth > kMaxDepth || at_ == end_) return false;
        switch (*at_) {
            case '{': return container(depth, '}', true);
            case '[': return container(depth, ']', false);
            case '"': return string();
            case 't': return literal("true");
            case 'f': return literal("false");
            case 'n': return literal("null");
            default: return number();
        }
    }

    // An object's members or an array's elements, from the opening bracket.
    bool container(int depth, char close, bool members) {
        ++at_;
        skipSpace();
        if (take(close)) return true;
        do {
            skipSpace();
            if (members) {
                if (at_ == end_ || *at_ != '"' || !string()) return false;
                skipSpace();
                if (!take(':')) return false;
                skipSpace();
            }
            if (!value(depth + 1)) return false;
            skipSpace();
        } while (take(','));
        return take(close);
    }

    // Decodes the string into text_ (reused: no allocation once it is large enough).
    bool string() {
        ++at_;
        text_.clear();
        while (at_ != end_) {
            const char c = *at_++;
            if (c == '"') return true;
            if (static_cast<unsigned char>(c) < 0x20) return false;
            if (c != '\\') {
                text_.push_back(c);
            } else if (!escape()) {
                return false;
            }
        }
        return false;
    }

    bool escape() {
        static const char kEscaped[] = "\"\\/bfnrt";
        static const char kMeant[] = "\"\\/\b\f\n\r\t";
        if (at_ == end_) return false;
        const char kind = *at_++;
        if (kind == 'u') return unicodeEscape();
        const char* found = kind == '\0' ? nullptr : std::strchr(kEscaped, kind);
        if (found == nullptr) return false;
        text_.push_back(kMeant[found - kEscaped]);
        return true;
    }

    // \uXXXX, appended as UTF-8 (surrogates as they come: the baseline needs only the work).
    bool unicodeEscape() {
        if (end_ - at_ < 4) return false;
        unsigned code = 0;
        const auto [last, error] = std::from_chars(at_, at_ + 4, code, 16);
        if (error != std::errc() || last != at_ + 4) return false;
        at_ += 4;
        if (code < 0x80) {
            text_.push_back(static_cast<char>(code));
        } else if (code < 0x800) {
            text_.push_back(static_cast<char>(0xC0 | code >> 6));
            text_.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        } else {
            text_.push_back(static_cast<char>(0xE0 | code >> 12));
            text_.push_back(static_cast<char>(0x80 | (code >> 6 & 0x3F)));
            text_.push_back(static_cast<char>(0x80 | (code & 0x3F)));
        }
        return true;
    }

    // Checks the number's form, then converts it.
    bool number() {
        const char* start = at_;
        take('-');
        if (!digits()) return false;
        if (take('.') && !digits()) return false;
        if (take('e') || take('E')) {
            if (!take('+')) take('-');
            if (!digits()) return false;
        }
        double value = 0;
        return std::from_chars(start, at_, value).ec == std::errc();
    }

    bool digits() {
        const char* start = at_;
        while (at_ != end_ && *at_ >= '0' && *at_ <= '9') ++at_;
        return at_ != start;
    }

    bool literal(const char* word) {
        const std::size_t length = std::strlen(word);
        if (static_cast<std::size_t>(end_ - at_) < length || std::memcmp(at_, word, length) != 0) return false;
        at_ += length;
        return true;
    }

    bool take(char c) {
        if (at_ == end_ || *at_ != c) return false;
        ++at_;
        return true;
    }

    void skipSpace() {
        while (at_ != end_ && (*at_ == ' ' || *at_ == '\n' || *at_ == '\t' || *at_ == '\r')) ++at_;
    }

    const char* at_;
    const char* end_;
    std::string text_;  // the string decoded last
};

}  // namespace

bool scanJson(const char* text, std::size_t size) { return Scanner(text, size).document(); }

}  // namespace bench
