#include "SCMEntryCheck.hpp"

#include <map>
#include <memory>
#include <set>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"
#include "StoredObjects.hpp"
#include "kobj/JsonEscaping.hpp"

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

SCMEntryCheck::SCMEntryCheck(const vrex::ClassRef& entryClass, tvdiag::util::diagnostics& problems)
    : entryClass_(entryClass),
      hasName_(!entryClass.findProperty(kNameProperty).isNull()),
      properties_{entryClass.findProperty(kChecksumProperty), entryClass.findProperty(kIdentityProperty),
                  entryClass.findProperty(kDataProperty)},
      problems_(problems) {
    if (hasName_) properties_.push_back(entryClass.findProperty(kNameProperty));
}

// A row without its Identity or Data is torn (an interrupted write of older versions): it is
// reported once, and its other texts are not checked.
void SCMEntryCheck::check(const vrex::DataModelRepository::StoredObject& stored) {
    const StoredTexts texts = textsOf(stored);
    const vrex::ObjectRef& object = stored.object;
    if (!texts.checksum) report("scm:check:missing", describe(object, texts.checksum) + " has no Checksum");
    if (!texts.identity || !texts.data) {
        const std::string lacks = !texts.identity && !texts.data ? "Identity and no Data"
                                  : !texts.identity              ? "Identity"
                                                                 : "Data";
        report("scm:check:torn", describe(object, texts.checksum) + " has no " + lacks + ": a torn row");
        return;
    }
    checkIdentity(object, texts);
    checkData(object, texts);
}

void SCMEntryCheck::reportDuplicates(const std::vector<vrex::ObjectRef>& sameChecksum, const std::string& checksum) {
    for (std::size_t later = 1; later < sameChecksum.size(); ++later) {
        report("scm:check:duplicateChecksum", describe(sameChecksum[later], checksum) + " has the same checksum as " +
                                                  entryClass_.name() + " object " +
                                                  std::to_string(sameChecksum.front().id()));
    }
}

SCMEntryCheck::StoredTexts SCMEntryCheck::textsOf(const vrex::DataModelRepository::StoredObject& stored) const {
    static const std::optional<std::string> kUnset;
    return {stored.texts[0], hasName_ ? stored.texts[3] : kUnset, stored.texts[1], stored.texts[2]};
}

// The object whose stored text is `text` (of `property` of `object`), decoded as the published
// class `className`; null after reporting it undecodable.
template <typename T>
std::unique_ptr<T> SCMEntryCheck::decode(const vrex::ObjectRef& object, const StoredTexts& texts,
                                         const std::string& text, const char* property, const char* className) {
    std::unique_ptr<T> stored = decodeStoredText<T>(text, className);
    if (stored == nullptr) {
        report("scm:check:undecodable",
               describe(object, texts.checksum) + ": its " + property + " does not decode: " + quoted(text));
    }
    return stored;
}

void SCMEntryCheck::checkIdentity(const vrex::ObjectRef& object, const StoredTexts& texts) {
    std::unique_ptr<SCMIdentity> identity =
        decode<SCMIdentity>(object, texts, *texts.identity, kIdentityProperty, "SharedCodeManager.Identity");
    if (identity == nullptr) return;
    if (identity->getTypeString() != object.objectClass().name()) {
        report("scm:check:wrongCategory", describe(object, texts.checksum) + " holds an identity of " +
                                              identity->getTypeString());
    }
    // A clone starts uncomputed: its checksum is the one the key fields give.
    const std::unique_ptr<SCMIdentity> recomputed(identity->clone());
    const std::string& computed = recomputed->getChecksum();
    if (texts.checksum && *texts.checksum != computed) {
        report("scm:check:checksumMismatch", describe(object, texts.checksum) +
                                                 ": its identity computes the checksum " +
                                                 quoted(computed));
    } else if (identity->getChecksum() != computed) {
        report("scm:check:checksumMismatch",
               describe(object, texts.checksum) + ": its identity carries the checksum " +
                   quoted(identity->getChecksum()) + " but computes " + quoted(computed));
    }
}

void SCMEntryCheck::checkData(const vrex::ObjectRef& object, const StoredTexts& texts) {
    std::unique_ptr<SCMData> data =
        decode<SCMData>(object, texts, *texts.data, kDataProperty, "SharedCodeManager.Data");
    if (data == nullptr) return;
    const std::string recordClass = data->getFullyQualifiedKobjTypeName();
    if (!fitsCategory(recordClass, object.objectClass().name())) {
        report("scm:check:wrongRecordClass",
               describe(object, texts.checksum) + " holds a record of " + recordClass + ", which its category does not hold");
    }
    static const std::string kNoName;
    const std::string& name = texts.name ? *texts.name : kNoName;
    if (hasName_ && name != data->getName()) {
        report("scm:check:nameMismatch", describe(object, texts.checksum) + ": its Name " +
                                             quoted(name) +
                                             " is not its record's name " +
                                             quoted(data->getName()));
    }
}

std::string SCMEntryCheck::describe(const vrex::ObjectRef& object, const std::optional<std::string>& checksum) const {
    return object.objectClass().name() + " object " + std::to_string(object.id()) +
           (checksum ? " (checksum " + quoted(*checksum) + ")" : "");
}

void SCMEntryCheck::report(const char* identifier, const std::string& message) {
    problems_.add(identifier, message);
}

}  // namespace SCM
