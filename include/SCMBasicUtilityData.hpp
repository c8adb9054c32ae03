#pragma once

#include <set>
#include <string>
#include <vector>

#include "SCMData.hpp"

namespace SCM {

// Record of a utility routine: its name with encodings, the identifier that merges compare, two
// flags, the models that use it, the utilities it needs (children) and traceability entries of
// the form "<model>:<location>".
class SCM_EXPORT SCMBasicUtilityData : public SCMData {
public:
    SCMBasicUtilityData();
    explicit SCMBasicUtilityData(const std::string& nameWithEncodings);
    SCMBasicUtilityData(const std::string& nameWithEncodings, const std::string& identifier);
    SCMBasicUtilityData(const std::string& nameWithEncodings, bool multiword, bool complex);
    SCMBasicUtilityData(const SCMBasicUtilityData& other);
    SCMBasicUtilityData& operator=(const SCMBasicUtilityData&) = default;
    ~SCMBasicUtilityData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    // Refuses (IS_PRESENT_ERROR, nothing changed) a record with another identifier or of another
    // class. Otherwise takes its flags, its first model name, its children when it has any and
    // its traceability entries, and answers IS_PRESENT_UPDATE.
    SCMRegistry update(SCMData* newer) override;
    SCMData* clone() const override;

    const std::string& getNameWithEncodings() const;
    void setNameWithEncodings(std::string nameWithEncodings);
    const std::string& getIdentifier() const;
    void setIdentifier(std::string identifier);
    bool isMultiword() const;
    void setMultiword(bool multiword);
    bool isComplex() const;
    void setComplex(bool complex);

    const std::vector<std::string>& getModelNames() const;
    // Replaces the list as given, duplicates included.
    void setModelNames(std::vector<std::string> modelNames);
    // Appends `modelName` unless it is already listed.
    void addModelName(const std::string& modelName);
    const std::vector<std::string>& getChildren() const;
    void setChildren(std::vector<std::string> children);
    void addChild(const std::string& child);

    const std::set<std::string>& getTraceabilitySet() const;
    // Replaces the set.
    void setTraceabilitySet(const std::set<std::string>& traceability);
    // Adds every entry of `traceability` (union).
    void addTraceabilitySet(const std::set<std::string>& traceability);
    void addTraceability(const std::string& entry);
    // Adds every entry of `entries` to the set without clearing it first: a union, like
    // addTraceabilitySet. This is the setter that scripts use.
    void setTraceability(std::vector<std::string> entries);
    // Every entry, ascending.
    std::vector<std::string> getTraceability() const;
    // The entries "<modelName>:..." ascending; every entry for an empty model name. Throws
    // std::out_of_range when an entry equals `modelName` exactly (an entry must never be a bare
    // model name).
    std::vector<std::string> getTraceabilityForModel(const std::string& modelName) const;
    // The rule that retires a model: drops every `modelName` from the model names and every
    // traceability entry "<modelName>:..."; the rest stays as it was. True when anything changed.
    bool removeModel(const std::string& modelName);

private:
    std::string nameWithEncodings_;
    std::string identifier_;
    bool multiword_ = false;
    bool complex_ = false;
    std::vector<std::string> modelNames_;
    std::vector<std::string> children_;
    std::set<std::string> traceability_;
};

}  // namespace SCM
