#pragma once

#include <string>

#include "SCMData.hpp"

namespace SCM {

// Record of a shared function: its name and the file that defines it.
class SCM_EXPORT SCMSharedFunctionData : public SCMData {
public:
    SCMSharedFunctionData();
    SCMSharedFunctionData(const std::string& functionName, const std::string& fileName);
    SCMSharedFunctionData(const SCMSharedFunctionData& other);
    SCMSharedFunctionData& operator=(const SCMSharedFunctionData&) = default;
    ~SCMSharedFunctionData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    // IS_PRESENT_UPDATE for a record with an equal function name (its file name is ignored),
    // IS_PRESENT_ERROR otherwise (also for a record of another class). Changes nothing.
    SCMRegistry update(SCMData* newer) override;
    SCMData* clone() const override;

    const std::string& getFunctionName() const;
    void setFunctionName(const std::string& functionName);
    const std::string& getFileName() const;
    void setFileName(const std::string& fileName);

private:
    std::string functionName_;
    std::string fileName_;
};

}  // namespace SCM
