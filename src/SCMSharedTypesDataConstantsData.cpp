#include "SCMSharedTypesDataConstantsData.hpp"

#include <map>

#include "package/PublishingRoutines.hpp"

namespace SCM {

namespace {

using Kind = SCMSharedTypesDataConstantsData::enumKind;

// Text -> kind, created on first use and kept until the process ends.
const std::map<std::string, Kind>& kindTable() {
    static const std::map<std::string, Kind> table = {
        {"SCM_SHARED_OTHERS", SCMSharedTypesDataConstantsData::SCM_SHARED_OTHERS},
        {"SCM_SHARED_TYPES", SCMSharedTypesDataConstantsData::SCM_SHARED_TYPES},
        {"SCM_SHARED_DATA_MACRO", SCMSharedTypesDataConstantsData::SCM_SHARED_DATA_MACRO},
        {"SCM_SHARED_DATA_DECLARATION", SCMSharedTypesDataConstantsData::SCM_SHARED_DATA_DECLARATION},
        {"SCM_SHARED_DATA_DEFINITION", SCMSharedTypesDataConstantsData::SCM_SHARED_DATA_DEFINITION},
    };
    return table;
}

}  // namespace

SCMSharedTypesDataConstantsData::SCMSharedTypesDataConstantsData() = default;

SCMSharedTypesDataConstantsData::SCMSharedTypesDataConstantsData(const std::string& name)
    : SCMData(name) {}

SCMSharedTypesDataConstantsData::SCMSharedTypesDataConstantsData(
    const SCMSharedTypesDataConstantsData& other)
    : SCMData(other), kind_(other.kind_), mangleName_(other.mangleName_),
      fileName_(other.fileName_), definition_(other.definition_),
      dependencies_(other.dependencies_), builtin_(other.builtin_) {}

SCMSharedTypesDataConstantsData::~SCMSharedTypesDataConstantsData() = default;

// Differs from the published class name ("SharedCodeManager.SharedTypesDataConstantsData") on
// purpose.
const char* SCMSharedTypesDataConstantsData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.SharedCommonData";
}

// Only the names are compared; the stored record keeps its definition, file and placement.
SCMRegistry SCMSharedTypesDataConstantsData::update(SCMData* newer) {
    if (newer == nullptr || getName() != newer->getName()) return IS_PRESENT_ERROR;
    return IS_PRESENT_UPDATE;
}

SCMData* SCMSharedTypesDataConstantsData::clone() const {
    return new SCMSharedTypesDataConstantsData(*this);
}

std::string SCMSharedTypesDataConstantsData::getKind() const {
    switch (kind_) {
        case SCM_SHARED_TYPES: return "SCM_SHARED_TYPES";
        case SCM_SHARED_DATA_MACRO: return "SCM_SHARED_DATA_MACRO";
        case SCM_SHARED_DATA_DECLARATION: return "SCM_SHARED_DATA_DECLARATION";
        case SCM_SHARED_DATA_DEFINITION: return "SCM_SHARED_DATA_DEFINITION";
        default: return "";
    }
}

void SCMSharedTypesDataConstantsData::setKind(const std::string& kind) {
    auto found = kindTable().find(kind);
    if (found != kindTable().end()) kind_ = found->second;
}

const std::string& SCMSharedTypesDataConstantsData::getMangleName() const { return mangleName_; }

void SCMSharedTypesDataConstantsData::setMangleName(const std::string& mangleName) {
    mangleName_ = mangleName;
}

const std::string& SCMSharedTypesDataConstantsData::getFileName() const { return fileName_; }

void SCMSharedTypesDataConstantsData::setFileName(const std::string& fileName) {
    fileName_ = fileName;
}

const std::string& SCMSharedTypesDataConstantsData::getDefinition() const { return definition_; }

void SCMSharedTypesDataConstantsData::setDefinition(const std::string& definition) {
    definition_ = definition;
}

const std::string& SCMSharedTypesDataConstantsData::getDependencies() const {
    return dependencies_;
}

void SCMSharedTypesDataConstantsData::setDependencies(const std::string& dependencies) {
    dependencies_ = dependencies;
}

bool SCMSharedTypesDataConstantsData::getBuiltin() const { return builtin_; }

void SCMSharedTypesDataConstantsData::setBuiltin(bool builtin) { builtin_ = builtin; }

// Publishes "SharedCodeManager.SharedTypesDataConstantsData" (the class reports another name, see
// getFullyQualifiedKobjTypeName); no constructor, scripts create only its subclasses.
void publishSCMSharedTypesDataConstantsData(kobj::factory::ClassBuilder& builder) {
    using Self = SCMSharedTypesDataConstantsData;
    const char* text = kobj::types::kCharVector;
    const auto none = kobj::attributes::kNone;
    kobj::factory::TypedClassBuilder<Self> data(builder);
    data.addSuperclass("SharedCodeManager.Data");
    data.addProperty("Kind", text, none, &Self::getKind, &Self::setKind);
    data.addProperty("MangleName", text, none, &Self::getMangleName, &Self::setMangleName);
    data.addProperty("FileName", text, none, &Self::getFileName, &Self::setFileName);
    data.addProperty("Definition", text, none, &Self::getDefinition, &Self::setDefinition);
    data.addProperty("Dependencies", text, none, &Self::getDependencies, &Self::setDependencies);
    data.addProperty("DependentBuiltIn", kobj::types::kLogicalScalar, none, &Self::getBuiltin,
                     &Self::setBuiltin);
}

}  // namespace SCM
