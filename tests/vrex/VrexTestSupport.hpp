#pragma once

// Helpers shared by the repository tests: temporary directories, a small script object class with
// its codec, metamodel files and byte snapshots.

#include <cctype>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>

#include "support/TempDir.hpp"
#include "kobj/Handle.hpp"
#include "vrex/DataModelRepository.hpp"
#include "vrex/Utf16.hpp"

namespace vrex_test {

namespace fs = std::filesystem;

using scm_test::TempDir;

// The script object stored in the tests' object properties.
struct Thing : tv::mi::Handle {
    explicit Thing(std::string text) : payload(std::move(text)) {}
    const char* getFullyQualifiedKobjTypeName() const override { return "Test.Thing"; }
    const std::string payload;
};

// Stores a Thing as "thing:<payload>"; refuses other objects; decodes nothing else.
class ThingCodec : public vrex::ObjectCodec {
public:
    std::string encode(const qaArray& value) const override {
        auto* thing = dynamic_cast<Thing*>(value.object(0));
        if (thing == nullptr) throw std::invalid_argument("not a Test.Thing");
        return "thing:" + thing->payload;
    }
    qaArray decode(const std::string& text) const override {
        if (text.rfind("thing:", 0) != 0) return qaArray();
        return qaArray::objectRow("Test.Thing", {qaArray::adopt(new Thing(text.substr(6)))});
    }
};

inline vrex::DataModelRepository::Options thingOptions() {
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.objectCodec = std::make_shared<ThingCodec>();
    return options;
}

// The payload of a decoded Thing value, or "<none>" when the value holds no Thing.
inline std::string payloadOf(const qaArray& value) {
    if (value.kind() != qaArray::Kind::Object || value.numel() != 1) return "<none>";
    auto* thing = dynamic_cast<Thing*>(value.object(0));
    return thing != nullptr ? thing->payload : "<none>";
}

inline std::string shippedMetamodel() { return SCM_TEST_METAMODEL; }

inline std::string readBytes(const std::string& file) {
    std::ifstream in(file, std::ios::binary);
    std::ostringstream bytes;
    bytes << in.rdbuf();  // a directory reads as empty
    return bytes.str();
}

inline void writeBytes(const std::string& file, const std::string& bytes) { std::ofstream(file, std::ios::binary) << bytes; }

// Opens `file` with `metamodel`; the diagnostics as one string ("" on success).
inline std::string openRepository(vrex::DataModelRepository& repository, const std::string& file,
                                  const std::string& metamodel = shippedMetamodel(),
                                  const vrex::DataModelRepository::Options& options = thingOptions()) {
    tvdiag::util::diagnostics diagnostics;
    repository.open(vrex::toUtf16(file), vrex::toUtf16(metamodel), options, diagnostics);
    return diagnostics.toString();
}

// Opens `location` with a busy timeout of `milliseconds`; the diagnostics as one string.
inline std::string openImpatient(vrex::DataModelRepository& repository, const std::string& location, int milliseconds) {
    vrex::DataModelRepository::Options impatient = thingOptions();
    impatient.busyTimeoutMs = milliseconds;
    return openRepository(repository, location, shippedMetamodel(), impatient);
}

// One SCM class with the four registry properties, found through the repository's metamodel.
struct Category {
    vrex::ClassRef cls;
    vrex::PropertyRef checksum, name, identity, data;

    Category(vrex::DataModelRepository& repository, const std::string& className) {
        tvdiag::util::diagnostics diagnostics;
        cls = repository.metamodel(diagnostics).findPackage("SCM").findClass(className);
        checksum = cls.findProperty("Checksum");
        name = cls.findProperty("Name");
        identity = cls.findProperty("Identity");
        data = cls.findProperty("Data");
    }
};

// Names the cases of a parameterised test after their labels: letters and digits, the rest '_'.
struct LabelName {
    template <class Info>
    std::string operator()(const Info& info) const {
        std::string name = info.param.label;
        for (char& c : name) c = std::isalnum(static_cast<unsigned char>(c)) ? c : '_';
        return name;
    }
};

// The identifiers of all records, each followed by a space.
inline std::string identifiers(const tvdiag::util::diagnostics& diagnostics) {
    std::string text;
    for (const auto& record : diagnostics.records()) text += record.identifier + " ";
    return text;
}

// Every object of the category's class, in creation order (empty on error).
inline std::vector<vrex::ObjectRef> allObjects(vrex::DataModelRepository& repository, const Category& category) {
    tvdiag::util::diagnostics diagnostics;
    std::vector<vrex::ObjectRef> objects;
    repository.findObjects(category.cls, {}, objects, diagnostics);
    return objects;
}

// The text of a character value; "" for an unset property ([]).
inline std::string textOf(const qaArray& value) { return value.kind() == qaArray::Kind::Char ? value.text() : ""; }

// Every object of `className` that `repository` finds, in id order, one per line:
// "id:checksum/name/identity/data", objects by their payload.
inline std::string listing(vrex::DataModelRepository& repository, const std::string& className,
                           const vrex::MatchConstraints& constraints = {}) {
    const Category category(repository, className);
    tvdiag::util::diagnostics diagnostics;
    std::vector<vrex::ObjectRef> objects;
    repository.findObjects(category.cls, constraints, objects, diagnostics);
    std::string text;
    for (const vrex::ObjectRef& object : objects) {
        text += std::to_string(object.id()) + ":" + textOf(repository.getPropertyValue(object, category.checksum, diagnostics)) +
                "/" + textOf(repository.getPropertyValue(object, category.name, diagnostics)) + "/" +
                payloadOf(repository.getPropertyValue(object, category.identity, diagnostics)) + "/" +
                payloadOf(repository.getPropertyValue(object, category.data, diagnostics)) + "\n";
    }
    return text + diagnostics.toString();
}

}  // namespace vrex_test
