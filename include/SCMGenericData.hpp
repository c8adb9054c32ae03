#pragma once

#include <string>

#include "SCMData.hpp"

namespace SCM {

// Record that holds only an identifier.
class SCM_EXPORT SCMGenericData : public SCMData {
public:
    SCMGenericData();
    explicit SCMGenericData(const std::string& identifier);
    SCMGenericData(const SCMGenericData& other);
    SCMGenericData& operator=(const SCMGenericData&) = default;
    ~SCMGenericData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    // IS_PRESENT_UPDATE for a record with an equal identifier, IS_PRESENT_ERROR otherwise (also for
    // a record of another class). Changes nothing.
    SCMRegistry update(SCMData* newer) override;
    SCMData* clone() const override;

    std::string getIdentifier() const;
    void setIdentifier(const std::string& identifier);

private:
    std::string identifier_;
};

}  // namespace SCM
