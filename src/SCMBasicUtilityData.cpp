#include "SCMBasicUtilityData.hpp"

#include <algorithm>
#include <iterator>
#include <utility>

#include "package/PublishingRoutines.hpp"

namespace SCM {

namespace {

void appendIfAbsent(std::vector<std::string>& names, const std::string& name) {
    if (std::find(names.begin(), names.end(), name) == names.end()) names.push_back(name);
}

}  // namespace

SCMBasicUtilityData::SCMBasicUtilityData() = default;

SCMBasicUtilityData::SCMBasicUtilityData(const std::string& nameWithEncodings)
    : nameWithEncodings_(nameWithEncodings) {}

SCMBasicUtilityData::SCMBasicUtilityData(const std::string& nameWithEncodings,
                                         const std::string& identifier)
    : nameWithEncodings_(nameWithEncodings), identifier_(identifier) {}

SCMBasicUtilityData::SCMBasicUtilityData(const std::string& nameWithEncodings, bool multiword,
                                         bool complex)
    : nameWithEncodings_(nameWithEncodings), multiword_(multiword), complex_(complex) {}

SCMBasicUtilityData::SCMBasicUtilityData(const SCMBasicUtilityData& other) : SCMData(other) {
    setNameWithEncodings(other.getNameWithEncodings());
    setIdentifier(other.getIdentifier());
    setModelNames(other.getModelNames());
    setMultiword(other.isMultiword());
    setComplex(other.isComplex());
    setChildren(other.getChildren());
    setTraceabilitySet(other.getTraceabilitySet());
}

SCMBasicUtilityData::~SCMBasicUtilityData() = default;

const char* SCMBasicUtilityData::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.BasicUtilityData";
}

// Only the first of the newer record's model names is taken; its children replace these only
// when it has any. The name with encodings is neither compared nor changed.
SCMRegistry SCMBasicUtilityData::update(SCMData* newer) {
    const auto* other = dynamic_cast<const SCMBasicUtilityData*>(newer);
    if (other == nullptr || getIdentifier() != other->getIdentifier()) return IS_PRESENT_ERROR;
    setMultiword(other->isMultiword());
    setComplex(other->isComplex());
    if (!other->modelNames_.empty()) addModelName(other->modelNames_.front());
    if (!other->children_.empty()) setChildren(other->children_);
    if (!other->traceability_.empty()) addTraceabilitySet(other->traceability_);
    return IS_PRESENT_UPDATE;
}

SCMData* SCMBasicUtilityData::clone() const { return new SCMBasicUtilityData(*this); }

const std::string& SCMBasicUtilityData::getNameWithEncodings() const { return nameWithEncodings_; }

void SCMBasicUtilityData::setNameWithEncodings(std::string nameWithEncodings) {
    nameWithEncodings_ = std::move(nameWithEncodings);
}

const std::string& SCMBasicUtilityData::getIdentifier() const { return identifier_; }

void SCMBasicUtilityData::setIdentifier(std::string identifier) {
    identifier_ = std::move(identifier);
}

bool SCMBasicUtilityData::isMultiword() const { return multiword_; }

void SCMBasicUtilityData::setMultiword(bool multiword) { multiword_ = multiword; }

bool SCMBasicUtilityData::isComplex() const { return complex_; }

void SCMBasicUtilityData::setComplex(bool complex) { complex_ = complex; }

const std::vector<std::string>& SCMBasicUtilityData::getModelNames() const { return modelNames_; }

void SCMBasicUtilityData::setModelNames(std::vector<std::string> modelNames) {
    modelNames_ = std::move(modelNames);
}

void SCMBasicUtilityData::addModelName(const std::string& modelName) {
    appendIfAbsent(modelNames_, modelName);
}

const std::vector<std::string>& SCMBasicUtilityData::getChildren() const { return children_; }

void SCMBasicUtilityData::setChildren(std::vector<std::string> children) {
    children_ = std::move(children);
}

void SCMBasicUtilityData::addChild(const std::string& child) { appendIfAbsent(children_, child); }

const std::set<std::string>& SCMBasicUtilityData::getTraceabilitySet() const {
    return traceability_;
}

void SCMBasicUtilityData::setTraceabilitySet(const std::set<std::string>& traceability) {
    if (&traceability != &traceability_) traceability_ = traceability;
}

void SCMBasicUtilityData::addTraceabilitySet(const std::set<std::string>& traceability) {
    traceability_.insert(traceability.begin(), traceability.end());
}

void SCMBasicUtilityData::addTraceability(const std::string& entry) { traceability_.insert(entry); }

void SCMBasicUtilityData::setTraceability(std::vector<std::string> entries) {
    traceability_.insert(std::make_move_iterator(entries.begin()),
                         std::make_move_iterator(entries.end()));
}

std::vector<std::string> SCMBasicUtilityData::getTraceability() const {
    return std::vector<std::string>(traceability_.begin(), traceability_.end());
}

// An entry belongs to the model when it starts with the model name followed by ':', so "m1" does
// not match "m10:...". An entry equal to the model name has no character after it: the checked
// access throws std::out_of_range.
std::vector<std::string> SCMBasicUtilityData::getTraceabilityForModel(
    const std::string& modelName) const {
    if (modelName.empty()) return getTraceability();
    std::vector<std::string> entries;
    for (const std::string& entry : traceability_) {
        if (entry.find(modelName) != 0) continue;
        if (entry.at(modelName.size()) == ':') entries.push_back(entry);
    }
    return entries;
}

bool SCMBasicUtilityData::removeModel(const std::string& modelName) {
    const std::size_t before = modelNames_.size() + traceability_.size();
    modelNames_.erase(std::remove(modelNames_.begin(), modelNames_.end(), modelName), modelNames_.end());
    const std::string prefix = modelName + ":";
    for (auto entry = traceability_.lower_bound(prefix);
         entry != traceability_.end() && entry->compare(0, prefix.size(), prefix) == 0;) {
        entry = traceability_.erase(entry);
    }
    return modelNames_.size() + traceability_.size() != before;
}

// Publishes "SharedCodeManager.BasicUtilityData". The "Traceability" setter adds to the entries
// already there (setTraceability is a union).
void publishSCMBasicUtilityData(kobj::factory::ClassBuilder& builder) {
    using Self = SCMBasicUtilityData;
    const char* text = kobj::types::kCharVector;
    const char* texts = kobj::types::kCell;
    const char* flag = kobj::types::kLogicalScalar;
    const auto none = kobj::attributes::kNone;
    kobj::factory::TypedClassBuilder<Self> data(builder);
    data.addSuperclass("SharedCodeManager.Data");
    data.addConstructor<>({});
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addConstructor<std::string, std::string>({kobj::types::kChar, kobj::types::kChar});
    data.addMethod("getTraceabilityForModel", {texts}, {kobj::types::kChar},
                   &Self::getTraceabilityForModel);
    data.addProperty("Identifier", text, none, &Self::getIdentifier, &Self::setIdentifier);
    data.addProperty("NameWithEncodings", text, none, &Self::getNameWithEncodings,
                     &Self::setNameWithEncodings);
    data.addProperty("ModelNames", texts, none, &Self::getModelNames, &Self::setModelNames);
    data.addProperty("Multiword", flag, none, &Self::isMultiword, &Self::setMultiword);
    data.addProperty("Complex", flag, none, &Self::isComplex, &Self::setComplex);
    data.addProperty("Children", texts, none, &Self::getChildren, &Self::setChildren);
    data.addProperty("Traceability", texts, none, &Self::getTraceability, &Self::setTraceability);
}

}  // namespace SCM
