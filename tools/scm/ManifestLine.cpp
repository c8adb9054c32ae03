#include "ManifestLine.hpp"

#include <nlohmann/json.hpp>

#include "kobj/ObjectEncoding.hpp"

namespace scm_tool {

namespace {

using Json = nlohmann::json;

const char* const kPackagePrefix = "SharedCodeManager.";

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
void completeClassName(Json& half) {
    auto found = half.find("class");
    if (found == half.end() || !found->is_string()) return;
    const std::string name = found->get<std::string>();
    if (name.find('.') == std::string::npos) *found = kPackagePrefix + name;
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
    if (value.kind() != qaArray::Kind::Object) {
        problem = std::string("\"") + key + "\": " + problem;
        return nullptr;
    }
    std::unique_ptr<tv::mi::Handle> object(qaArray::release(value.objects().front()));
    T* typed = dynamic_cast<T*>(object.get());
    if (typed != nullptr) object.release();
    return std::unique_ptr<T>(typed);
}

}  // namespace

bool parseManifestLine(const std::string& line, OwnedEntry& entry, std::string& problem) {
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
    entry.identity = decodeHalf<SCM::SCMIdentity>(parsed, "identity", "SharedCodeManager.Identity",
                                                  problem);
    if (entry.identity == nullptr) return false;
    entry.data = decodeHalf<SCM::SCMData>(parsed, "data", "SharedCodeManager.Data", problem);
    return entry.data != nullptr;
}

std::string manifestLine(SCM::SCMIdentity& identity, SCM::SCMData& data) {
    return "{\"identity\":" + kobj::encodeObject(identity.toScriptValue()) +
           ",\"data\":" + kobj::encodeObject(data.toScriptValue()) + "}";
}

}  // namespace scm_tool
