#include "ManifestHalves.hpp"

#include <cstring>

namespace scm_tool {

namespace {

// A cursor over the line; every step skips the white space before what it takes.
class LineCursor {
public:
    explicit LineCursor(const std::string& line)
        : next_(line.data()), end_(line.data() + line.size()) {}

    bool take(char c) {
        skipSpace();
        if (next_ == end_ || *next_ != c) return false;
        ++next_;
        return true;
    }

    // Takes `"<name>"` when the line goes on with it, the quotes included.
    bool takeName(const char* quotedName) {
        skipSpace();
        const std::size_t length = std::strlen(quotedName);
        if (static_cast<std::size_t>(end_ - next_) < length ||
            std::memcmp(next_, quotedName, length) != 0) {
            return false;
        }
        next_ += length;
        return true;
    }

    bool takeObject(kobj::EncodedObject& object) {
        return kobj::readEncodedObjectAt(next_, end_, object);
    }

    bool atEnd() {
        skipSpace();
        return next_ == end_;
    }

private:
    void skipSpace() {
        while (next_ != end_ && isSpace(*next_)) ++next_;
    }

    static bool isSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\r'; }

    const char* next_;
    const char* end_;
};

// One member `"identity": {...}` or `"data": {...}` that was not read yet.
bool readHalf(LineCursor& cursor, kobj::EncodedObject& identity, bool& sawIdentity,
              kobj::EncodedObject& data, bool& sawData) {
    if (!sawIdentity && cursor.takeName("\"identity\"")) {
        sawIdentity = true;
        return cursor.take(':') && cursor.takeObject(identity);
    }
    if (!sawData && cursor.takeName("\"data\"")) {
        sawData = true;
        return cursor.take(':') && cursor.takeObject(data);
    }
    return false;
}

}  // namespace

bool readManifestHalves(const std::string& line, kobj::EncodedObject& identity,
                        kobj::EncodedObject& data) {
    LineCursor cursor(line);
    bool sawIdentity = false;
    bool sawData = false;
    return cursor.take('{') && readHalf(cursor, identity, sawIdentity, data, sawData) &&
           cursor.take(',') && readHalf(cursor, identity, sawIdentity, data, sawData) &&
           cursor.take('}') && cursor.atEnd();
}

}  // namespace scm_tool
