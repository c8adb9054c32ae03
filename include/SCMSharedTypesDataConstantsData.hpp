#pragma once

#include <string>

#include "SCMData.hpp"

namespace SCM {

// Common record of shared types, data and constants: the item's generated definition, the file
// that receives it, its mangled name, its dependencies and its kind. Its name is the SCMData name.
class SCM_EXPORT SCMSharedTypesDataConstantsData : public SCMData {
public:
    // Kind of item. Stored (as its text) inside every saved record: the values are fixed.
    enum enumKind : int {
        SCM_SHARED_OTHERS = 0,
        SCM_SHARED_TYPES = 1,
        SCM_SHARED_DATA_MACRO = 2,
        SCM_SHARED_DATA_DECLARATION = 3,
        SCM_SHARED_DATA_DEFINITION = 4,
    };

    SCMSharedTypesDataConstantsData();
    explicit SCMSharedTypesDataConstantsData(const std::string& name);
    SCMSharedTypesDataConstantsData(const SCMSharedTypesDataConstantsData& other);
    SCMSharedTypesDataConstantsData& operator=(const SCMSharedTypesDataConstantsData&) = default;
    ~SCMSharedTypesDataConstantsData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    // IS_PRESENT_UPDATE for a record of equal name, IS_PRESENT_ERROR otherwise; changes nothing.
    SCMRegistry update(SCMData* newer) override;
    SCMData* clone() const override;

    // The kind's text: "SCM_SHARED_TYPES", "SCM_SHARED_DATA_MACRO", "SCM_SHARED_DATA_DECLARATION",
    // "SCM_SHARED_DATA_DEFINITION"; "" for SCM_SHARED_OTHERS, so "SCM_SHARED_OTHERS" does not
    // read back as it was set.
    std::string getKind() const;
    // Sets the kind from one of the five enumerator names (exact); any other text leaves the kind
    // unchanged.
    void setKind(const std::string& kind);
    const std::string& getMangleName() const;
    void setMangleName(const std::string& mangleName);
    const std::string& getFileName() const;
    void setFileName(const std::string& fileName);
    const std::string& getDefinition() const;
    void setDefinition(const std::string& definition);
    // The items this one needs, in one text whose layout the code generator decides.
    const std::string& getDependencies() const;
    void setDependencies(const std::string& dependencies);
    bool getBuiltin() const;
    void setBuiltin(bool builtin);

private:
    enumKind kind_ = SCM_SHARED_OTHERS;
    std::string mangleName_;
    std::string fileName_;
    std::string definition_;
    std::string dependencies_;
    bool builtin_ = false;
};

}  // namespace SCM
