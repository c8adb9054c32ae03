#include "ManifestLine.hpp"

#include <utility>

#include "ManifestHalves.hpp"
#include "ManifestRules.hpp"
#include "kobj/Handle.hpp"
#include "kobj/ObjectEncoding.hpp"

namespace scm_tool {

namespace {

const char* const kPackagePrefix = "SharedCodeManager.";
const char* const kIdentityClass = "SharedCodeManager.Identity";
const char* const kDataClass = "SharedCodeManager.Data";

// A short class name ("SharedFunctionData") means the class of the library's package.
void completeClassName(std::string& name) {
    if (name.find('.') == std::string::npos) name = kPackagePrefix + name;
}

// The half `key` decoded as an object of `requiredClass` (or a subclass), its properties written
// in the line's order; null with `problem` set when it does not decode.
template <typename T>
std::unique_ptr<T> decodeHalf(kobj::EncodedObject& half, const char* key,
                              const std::string& requiredClass, std::string& problem) {
    completeClassName(half.className);
    std::unique_ptr<T> object = tv::mi::releaseScriptObjectAs<T>(
        kobj::decodeObject(std::move(half), requiredClass, problem), requiredClass.c_str());
    if (object == nullptr) problem = std::string("\"") + key + "\": " + problem;
    return object;
}

bool readEntry(const std::string& line, OwnedEntry& entry, std::string& problem) {
    kobj::EncodedObject identity;
    kobj::EncodedObject data;
    if (!readManifestHalves(line, identity, data, problem)) return false;
    if (!checkIdentityTexts(identity, problem)) return false;
    entry.identity = decodeHalf<SCM::SCMIdentity>(identity, "identity", kIdentityClass, problem);
    if (entry.identity == nullptr) return false;
    entry.data = decodeHalf<SCM::SCMData>(data, "data", kDataClass, problem);
    return entry.data != nullptr && checkRecordClass(entry, problem);
}

}  // namespace

bool parseManifestLine(const std::string& line, OwnedEntry& entry, std::string& problem) {
    entry = OwnedEntry();
    problem.clear();
    if (readEntry(line, entry, problem)) return true;
    entry = OwnedEntry();
    return false;
}

std::string manifestLine(SCM::SCMIdentity& identity, SCM::SCMData& data) {
    return "{\"identity\":" + kobj::encodeObject(identity.toScriptValue()) +
           ",\"data\":" + kobj::encodeObject(data.toScriptValue()) + "}";
}

}  // namespace scm_tool
