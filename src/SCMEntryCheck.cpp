#include "SCMEntryCheck.hpp"

#include <map>
#include <memory>
#include <set>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"
#include "StoredObjects.hpp"
#include "kobj/JsonText.hpp"

namespace SCM {

namespace {

std::string quoted(const std::string& text) { return kobj::json::quotedExcerpt(text); }

// Whether a record of the published class `recordClass` belongs in `category` (its dictionary
// class). As permissive as registration, which stores any record under any identity: the base
// and the generic record fit every category; SCM_OTHER and the marker SCM_NUM take any record.
bool fitsCategory(const std::string& recordClass, const std::string& category) {
    static const std::map<std::string, std::set<std::string>> kRecordClasses = {
        {"SCM_UTILITIES", {"BasicUtilityData", "MultiWordFcnData"}},
        {"SCM_SHARED_FUNCTIONS", {"SharedFunctionData", "MultiWordFcnData"}},
        {"SCM_SHARED_TYPES", {"SharedTypesData", "SharedCommonData"}},
        {"SCM_SHARED_DATA", {"SharedData", "SharedCommonData"}},
        {"SCM_SHARED_CONSTANTS", {"SharedConstantsData", "SharedCommonData"}},
    };
    const std::string prefix = "SharedCodeManager.";
    const std::string name = recordClass.rfind(prefix, 0) == 0 ? recordClass.substr(prefix.size()) : recordClass;
    if (name == "Data" || name == "GenericData") return true;
    auto listed = kRecordClasses.find(category);
    return listed == kRecordClasses.end() || listed->second.count(name) != 0;
}

}  // namespace

SCMEntryCheck::SCMEntryCheck(vrex::DataModelRepository& repository,
                             tvdiag::util::diagnostics& problems)
    : repository_(repository), problems_(problems) {}

std::size_t SCMEntryCheck::checkCategory(const vrex::ClassRef& entryClass,
                                         const std::vector<vrex::ObjectRef>& objects) {
    std::map<std::string, std::int64_t> firstWithChecksum;
    for (const vrex::ObjectRef& object : objects) {
        StoredTexts texts;
        if (!readTexts(object, texts)) continue;
        if (!texts.checksum) {
            report("scm:check:missing", describe(object, texts) + " has no Checksum");
        } else if (auto [first, isNew] = firstWithChecksum.emplace(*texts.checksum, object.id());
                   !isNew) {
            report("scm:check:duplicateChecksum",
                   describe(object, texts) + " has the same checksum as " + entryClass.name() +
                       " object " + std::to_string(first->second));
        }
        checkIdentity(object, texts);
        checkData(object, texts);
    }
    return objects.size();
}

bool SCMEntryCheck::readTexts(const vrex::ObjectRef& object, StoredTexts& texts) {
    const vrex::ClassRef entryClass = object.objectClass();
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    auto read = [&](const char* property) {
        return repository_.getStoredText(object, entryClass.findProperty(property), diagnostics);
    };
    texts.checksum = read(kChecksumProperty);
    if (!entryClass.findProperty(kNameProperty).isNull()) texts.name = read(kNameProperty);
    texts.identity = read(kIdentityProperty);
    texts.data = read(kDataProperty);
    for (const tvdiag::util::diagnostic& record : diagnostics.records()) {
        report("scm:check:unreadable", record.message);
    }
    return diagnostics.empty();
}

// The object stored in `property` of `object` (its stored text is `text`), decoded as the
// published class `className`; null after reporting it missing or undecodable.
template <typename T>
std::unique_ptr<T> SCMEntryCheck::readStored(const vrex::ObjectRef& object,
                                             const StoredTexts& texts,
                                             const std::optional<std::string>& text,
                                             const char* property, const char* className) {
    if (!text) {
        report("scm:check:missing", describe(object, texts) + " has no " + property);
        return nullptr;
    }
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    std::unique_ptr<T> stored = takeStoredObject<T>(
        repository_.getPropertyValue(object, object.objectClass().findProperty(property),
                                     diagnostics),
        className);
    if (stored == nullptr) {
        report("scm:check:undecodable", describe(object, texts) + ": its " + property +
                                            " does not decode: " + quoted(*text));
    }
    return stored;
}

void SCMEntryCheck::checkIdentity(const vrex::ObjectRef& object, const StoredTexts& texts) {
    std::unique_ptr<SCMIdentity> identity = readStored<SCMIdentity>(
        object, texts, texts.identity, kIdentityProperty, "SharedCodeManager.Identity");
    if (identity == nullptr) return;
    if (identity->getTypeString() != object.objectClass().name()) {
        report("scm:check:wrongCategory", describe(object, texts) + " holds an identity of " +
                                              identity->getTypeString());
    }
    // A clone starts uncomputed: its checksum is the one the key fields give.
    const std::unique_ptr<SCMIdentity> recomputed(identity->clone());
    const std::string& computed = recomputed->getChecksum();
    if (texts.checksum && *texts.checksum != computed) {
        report("scm:check:checksumMismatch", describe(object, texts) +
                                                 ": its identity computes the checksum " +
                                                 quoted(computed));
    } else if (identity->getChecksum() != computed) {
        report("scm:check:checksumMismatch",
               describe(object, texts) + ": its identity carries the checksum " +
                   quoted(identity->getChecksum()) + " but computes " + quoted(computed));
    }
}

void SCMEntryCheck::checkData(const vrex::ObjectRef& object, const StoredTexts& texts) {
    std::unique_ptr<SCMData> data =
        readStored<SCMData>(object, texts, texts.data, kDataProperty, "SharedCodeManager.Data");
    if (data == nullptr) return;
    const std::string recordClass = data->getFullyQualifiedKobjTypeName();
    if (!fitsCategory(recordClass, object.objectClass().name())) {
        report("scm:check:wrongRecordClass",
               describe(object, texts) + " holds a record of " + recordClass + ", which its category does not hold");
    }
    const bool hasName = !object.objectClass().findProperty(kNameProperty).isNull();
    if (hasName && texts.name.value_or("") != data->getName()) {
        report("scm:check:nameMismatch", describe(object, texts) + ": its Name " +
                                             quoted(texts.name.value_or("")) +
                                             " is not its record's name " +
                                             quoted(data->getName()));
    }
}

std::string SCMEntryCheck::describe(const vrex::ObjectRef& object, const StoredTexts& texts) const {
    return object.objectClass().name() + " object " + std::to_string(object.id()) +
           (texts.checksum ? " (checksum " + quoted(*texts.checksum) + ")" : "");
}

void SCMEntryCheck::report(const char* identifier, const std::string& message) {
    problems_.add(identifier, message);
}

}  // namespace SCM
