#include "ManifestRules.hpp"

#include <cstring>

#include "Categories.hpp"
#include "SCMGenericIdentity.hpp"
#include "kobj/JsonEscaping.hpp"

namespace scm_tool {

namespace {

// The record class of each category that takes only its own.
struct CategoryRecord {
    SCM::SCMTypes category;
    const char* recordClass;
};

const CategoryRecord kCategoryRecords[] = {
    {SCM::SCM_UTILITIES, "SharedCodeManager.BasicUtilityData"},
    {SCM::SCM_SHARED_FUNCTIONS, "SharedCodeManager.SharedFunctionData"},
    {SCM::SCM_SHARED_TYPES, "SharedCodeManager.SharedTypesData"},
    {SCM::SCM_SHARED_DATA, "SharedCodeManager.SharedData"},
    {SCM::SCM_SHARED_CONSTANTS, "SharedCodeManager.SharedConstantsData"},
};

const char* const kGenericRecords[] = {"SharedCodeManager.GenericData",
                                       "SharedCodeManager.MultiWordFcnData"};

const char* const kKeyTexts[] = {"UtilityIdentifier", "SymbolString", "DesiredIdentifier"};

bool isKeyText(const std::string& name) {
    for (const char* keyText : kKeyTexts) {
        if (name == keyText) return true;
    }
    return false;
}

bool isCategoryText(const std::string& text) {
    for (SCM::SCMTypes category : allCategories()) {
        if (text == SCM::scmTypeToPropertyText(category)) return true;
    }
    return false;
}

std::string categoryTexts() {
    std::string texts;
    for (SCM::SCMTypes category : allCategories()) {
        texts += (texts.empty() ? "" : ", ") + SCM::scmTypeToPropertyText(category);
    }
    return texts;
}

bool isGenericRecord(const char* recordClass) {
    for (const char* generic : kGenericRecords) {
        if (std::strcmp(recordClass, generic) == 0) return true;
    }
    return false;
}

bool refuse(const std::string& what, std::string& problem) {
    problem = what;
    return false;
}

}  // namespace

bool checkIdentityTexts(const kobj::EncodedObject& identity, std::string& problem) {
    for (const auto& [name, value] : identity.properties) {
        const bool isText = value.kind() == qaArray::Kind::Char;
        if (name == "Type" && !(isText && isCategoryText(value.text()))) {
            return refuse("\"identity\": property \"Type\": " +
                              (isText ? kobj::json::quotedExcerpt(value.text()) : "the value") +
                              " is no category (" + categoryTexts() + ")",
                          problem);
        }
        if (isText && isKeyText(name) && value.text().find('\0') != std::string::npos) {
            return refuse("\"identity\": property \"" + name +
                              "\": a NUL byte (the checksum would end there)",
                          problem);
        }
    }
    return true;
}

bool checkRecordClass(const OwnedEntry& entry, std::string& problem) {
    const char* const recordClass = entry.data->getFullyQualifiedKobjTypeName();
    const SCM::SCMTypes category = entry.identity->getType();
    const bool generic =
        dynamic_cast<const SCM::SCMGenericIdentity*>(entry.identity.get()) != nullptr;
    if (generic && isGenericRecord(recordClass)) return true;
    for (const CategoryRecord& own : kCategoryRecords) {
        if (own.category == category && std::strcmp(recordClass, own.recordClass) != 0) {
            return refuse(std::string("\"data\": class ") + recordClass +
                              " is no record of category " + SCM::scmTypeToString(category) +
                              " (it takes " + own.recordClass +
                              (generic ? ", or a generic record with a GenericIdentity)" : ")"),
                          problem);
        }
    }
    return true;
}

}  // namespace scm_tool
