#include "ManifestLine.hpp"

#include <utility>

#include <nlohmann/json.hpp>

#include "ManifestHalves.hpp"
#include "kobj/ObjectEncoding.hpp"

namespace scm_tool {

namespace {

using Json = nlohmann::json;

const char* const kPackagePrefix = "SharedCodeManager.";
const char* const kIdentityClass = "SharedCodeManager.Identity";
const char* const kDataClass = "SharedCodeManager.Data";

// The parser's message without its tag and without "line 1" (the manifest line is reported
// instead): "[json.exception.parse_error.101] parse error at line 1, column 2: syntax error ..."
// becomes "at column 2: syntax error ...".
std::string parseProblem(const std::string& what) {
    const std::size_t tagEnd = what.find("] ");
    const std::string text = tagEnd == std::string::npos ? what : what.substr(tagEnd + 2);
    const std::string where = "parse error at line 1, ";
    if (text.rfind(where, 0) == 0) return "at " + text.substr(where.size());
    return ": " + text;
}

// A short class name ("SharedFunctionData") means the class of the library's package.
void completeClassName(std::string& name) {
    if (name.find('.') == std::string::npos) name = kPackagePrefix + name;
}

void completeClassName(Json& half) {
    auto found = half.find("class");
    if (found == half.end() || !found->is_string()) return;
    std::string name = found->get<std::string>();
    completeClassName(name);
    *found = std::move(name);
}

bool holdsObject(const qaArray& value) {
    return value.kind() == qaArray::Kind::Object && !value.isEmpty();
}

// The object of a decoded value as a T, owned; null when `value` holds no object or one of
// another class.
template <typename T>
std::unique_ptr<T> ownedAs(qaArray value) {
    if (!holdsObject(value)) return nullptr;
    std::unique_ptr<tv::mi::Handle> object(qaArray::release(value.objects().front()));
    T* typed = dynamic_cast<T*>(object.get());
    if (typed != nullptr) object.release();
    return std::unique_ptr<T>(typed);
}

// Decodes the member `key` of `line` as an object of `requiredClass` (or a subclass); null with
// `problem` set when it is missing or does not decode.
template <typename T>
std::unique_ptr<T> decodeHalf(Json& line, const char* key, const std::string& requiredClass,
                              std::string& problem) {
    auto found = line.find(key);
    if (found == line.end() || !found->is_object()) {
        problem = std::string("the entry has no \"") + key + "\" object";
        return nullptr;
    }
    completeClassName(*found);
    // ASCII output: every character comes back as \uXXXX, which the encoding reads as one byte.
    const std::string text = found->dump(-1, ' ', true);
    qaArray value = kobj::decodeObject(text, requiredClass, problem);
    if (!holdsObject(value)) {
        problem = std::string("\"") + key + "\": " + problem;
        return nullptr;
    }
    return ownedAs<T>(std::move(value));
}

// A half read in one pass, decoded as an object of `requiredClass`; null when it does not decode.
// Its properties are written in the line's order, where the JSON reading writes them ordered by
// name: the library's setters each change only their own field (a key field also marks the
// checksum stale, and the Dependent checksum and category are written last either way), so both
// readings make the same object. The tests and the manifest fuzzer compare them.
template <typename T>
std::unique_ptr<T> decodeRead(kobj::EncodedObject& half, const std::string& requiredClass) {
    completeClassName(half.className);
    std::string problem;
    return ownedAs<T>(kobj::decodeObject(std::move(half), requiredClass, problem));
}

// The usual line read in one pass; false (with `entry` unspecified) for anything else.
bool parseInOnePass(const std::string& line, OwnedEntry& entry) {
    kobj::EncodedObject identity;
    kobj::EncodedObject data;
    if (!readManifestHalves(line, identity, data)) return false;
    entry.identity = decodeRead<SCM::SCMIdentity>(identity, kIdentityClass);
    if (entry.identity == nullptr) return false;
    entry.data = decodeRead<SCM::SCMData>(data, kDataClass);
    return entry.data != nullptr;
}

}  // namespace

bool parseManifestLine(const std::string& line, OwnedEntry& entry, std::string& problem) {
    if (parseInOnePass(line, entry)) {
        problem.clear();
        return true;
    }
    entry = OwnedEntry();
    return parseManifestLineAsJson(line, entry, problem);
}

bool parseManifestLineAsJson(const std::string& line, OwnedEntry& entry, std::string& problem) {
    Json parsed;
    try {
        parsed = Json::parse(line);
    } catch (const Json::exception& error) {  // a syntax error, or a number out of range
        problem = "not valid JSON " + parseProblem(error.what());
        return false;
    }
    if (!parsed.is_object()) {
        problem = "the line is not a JSON object";
        return false;
    }
    for (const auto& member : parsed.items()) {
        if (member.key() != "identity" && member.key() != "data") {
            problem = "unknown member \"" + member.key() +
                      "\" (an entry has \"identity\" and \"data\")";
            return false;
        }
    }
    entry.identity = decodeHalf<SCM::SCMIdentity>(parsed, "identity", kIdentityClass, problem);
    if (entry.identity == nullptr) return false;
    entry.data = decodeHalf<SCM::SCMData>(parsed, "data", kDataClass, problem);
    return entry.data != nullptr;
}

std::string manifestLine(SCM::SCMIdentity& identity, SCM::SCMData& data) {
    return "{\"identity\":" + kobj::encodeObject(identity.toScriptValue()) +
           ",\"data\":" + kobj::encodeObject(data.toScriptValue()) + "}";
}

}  // namespace scm_tool
