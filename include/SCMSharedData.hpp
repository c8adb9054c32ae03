#pragma once

#include <string>

#include "SCMSharedTypesDataConstantsData.hpp"

namespace SCM {

// Record of a shared data item, with the placement of its generated storage: aliased type,
// storage class, memory section and its pragma settings, package name.
class SCM_EXPORT SCMSharedData : public SCMSharedTypesDataConstantsData {
public:
    SCMSharedData();
    explicit SCMSharedData(const std::string& name);
    SCMSharedData(const SCMSharedData& other);
    SCMSharedData& operator=(const SCMSharedData&) = default;
    ~SCMSharedData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    SCMData* clone() const override;

    const std::string& getAliasedType() const;
    void setAliasedType(const std::string& aliasedType);
    const std::string& getCscComment() const;
    void setCscComment(const std::string& cscComment);
    const std::string& getCscName() const;
    void setCscName(const std::string& cscName);
    int getMemSecAddPragma() const;
    void setMemSecAddPragma(int memSecAddPragma);
    const std::string& getMemSecComment() const;
    void setMemSecComment(const std::string& memSecComment);
    const std::string& getMemSecName() const;
    void setMemSecName(const std::string& memSecName);
    int getMemSecPostPragma() const;
    void setMemSecPostPragma(int memSecPostPragma);
    int getMemSecPrePragma() const;
    void setMemSecPrePragma(int memSecPrePragma);
    const std::string& getPackageName() const;
    void setPackageName(const std::string& packageName);

private:
    std::string aliasedType_;
    std::string cscComment_;
    std::string cscName_;
    int memSecAddPragma_ = 0;
    std::string memSecComment_;
    std::string memSecName_;
    int memSecPostPragma_ = 0;
    int memSecPrePragma_ = 0;
    std::string packageName_;
};

}  // namespace SCM
