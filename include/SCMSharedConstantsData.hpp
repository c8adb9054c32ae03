#pragma once

#include <string>

#include "SCMSharedTypesDataConstantsData.hpp"

namespace SCM {

// Record of a shared constant: its initial value text, parameter prefix, width, data type, two
// flags, and whether it is to be generated (DoUpdate).
class SCM_EXPORT SCMSharedConstantsData : public SCMSharedTypesDataConstantsData {
public:
    SCMSharedConstantsData();
    explicit SCMSharedConstantsData(const std::string& name);
    SCMSharedConstantsData(const SCMSharedConstantsData& other);
    SCMSharedConstantsData& operator=(const SCMSharedConstantsData&) = default;
    ~SCMSharedConstantsData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    // Switches DoUpdate on when the newer record has it on; never off. Names are not compared:
    // always IS_PRESENT_UPDATE.
    SCMRegistry update(SCMData* newer) override;
    SCMData* clone() const override;

    const std::string& getInitialString() const;
    void setInitialString(const std::string& initialString);
    const std::string& getParamPrefix() const;
    void setParamPrefix(const std::string& paramPrefix);
    const std::string& getWidth() const;
    void setWidth(const std::string& width);
    const std::string& getDataType() const;
    void setDataType(const std::string& dataType);
    bool getComplex() const;
    void setComplex(bool complex);
    bool getMultiword() const;
    void setMultiword(bool multiword);
    bool getDoUpdate() const;
    void setDoUpdate(bool doUpdate);

private:
    std::string initialString_;
    std::string paramPrefix_;
    std::string width_;
    std::string dataType_;
    bool complex_ = false;
    bool multiword_ = false;
    bool doUpdate_ = false;
};

}  // namespace SCM
