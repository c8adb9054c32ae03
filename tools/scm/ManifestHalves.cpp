#include "ManifestHalves.hpp"

#include "kobj/JsonEscaping.hpp"

namespace scm_tool {

namespace {

// A reader of the line's outer object; every step skips the white space before what it takes.
class HalvesReader {
public:
    explicit HalvesReader(const std::string& line)
        : begin_(line.data()), next_(line.data()), end_(line.data() + line.size()) {}

    bool read(kobj::EncodedObject& identity, kobj::EncodedObject& data, std::string& problem) {
        if (end_ - next_ >= 3 && std::string(next_, 3) == "\xef\xbb\xbf") next_ += 3;
        if (!take('{')) return fail("the line is not a JSON object", problem);
        bool sawIdentity = false;
        bool sawData = false;
        if (!take('}')) {
            do {
                if (!readHalf(identity, sawIdentity, data, sawData, problem)) return false;
            } while (take(','));
            if (!take('}')) return fail("expected ',' or '}' after a member", problem);
        }
        if (!sawIdentity || !sawData) {
            problem = std::string("the entry has no \"") + (sawIdentity ? "data" : "identity") +
                      "\" object";
            return false;
        }
        skipSpace();
        // A NUL byte after the entry ends the line, as general JSON parsers read it.
        return next_ == end_ || *next_ == '\0' || fail("unexpected text after the entry", problem);
    }

private:
    // One member `"identity": {...}` or `"data": {...}`.
    bool readHalf(kobj::EncodedObject& identity, bool& sawIdentity, kobj::EncodedObject& data,
                  bool& sawData, std::string& problem) {
        skipSpace();
        const char* const nameStart = next_;
        std::string name;
        kobj::ReadError error;
        if (!kobj::readEncodedString(next_, end_, name, error)) return fail(error, "", problem);
        const bool isIdentity = name == "identity";
        if (!isIdentity && name != "data") {
            next_ = nameStart;
            return fail("unknown member " + kobj::json::quotedExcerpt(name) +
                            " (an entry has \"identity\" and \"data\")",
                        problem);
        }
        bool& seen = isIdentity ? sawIdentity : sawData;
        if (seen) {
            next_ = nameStart;
            return fail("\"" + name + "\" is given twice", problem);
        }
        seen = true;
        if (!take(':')) return fail("expected ':' after the member name", problem);
        skipSpace();
        if (next_ == end_ || *next_ != '{') {
            return fail("\"" + name + "\" is not an object", problem);
        }
        if (!kobj::readEncodedObjectAt(next_, end_, isIdentity ? identity : data, error)) {
            return fail(error, "\"" + name + "\" ", problem);
        }
        return true;
    }

    // Says what is wrong at the current position; returns false.
    bool fail(const std::string& what, std::string& problem) const {
        problem = "at column " + std::to_string(next_ - begin_ + 1) + ": " + what;
        return false;
    }

    // Says what a reading that started at the current position found wrong, after `where`.
    bool fail(const kobj::ReadError& error, const std::string& where, std::string& problem) const {
        problem = where + "at column " + std::to_string(next_ - begin_ + error.column) + ": " +
                  error.message;
        return false;
    }

    bool take(char c) {
        skipSpace();
        if (next_ == end_ || *next_ != c) return false;
        ++next_;
        return true;
    }

    void skipSpace() {
        while (next_ != end_ && isSpace(*next_)) ++next_;
    }

    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    const char* const begin_;
    const char* next_;
    const char* const end_;
};

}  // namespace

bool readManifestHalves(const std::string& line, kobj::EncodedObject& identity,
                        kobj::EncodedObject& data, std::string& problem) {
    return HalvesReader(line).read(identity, data, problem);
}

}  // namespace scm_tool
