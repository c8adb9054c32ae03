#pragma once

#include <string>
#include <vector>

#include "SCMData.hpp"

namespace SCM {

// Record of the multiword support functions that generated code needs: one growing list.
class SCM_EXPORT SCMMultiWordFcnData : public SCMData {
public:
    SCMMultiWordFcnData();
    // Holds exactly `fcnName`, even when it is empty.
    explicit SCMMultiWordFcnData(const std::string& fcnName);
    // Holds `fcnNames` as given, duplicates included.
    explicit SCMMultiWordFcnData(const std::vector<std::string>& fcnNames);
    SCMMultiWordFcnData(const SCMMultiWordFcnData& other);
    SCMMultiWordFcnData& operator=(const SCMMultiWordFcnData&) = default;
    ~SCMMultiWordFcnData() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    // Appends each of the newer record's names that is not yet listed; always IS_PRESENT_UPDATE.
    SCMRegistry update(SCMData* newer) override;
    SCMData* clone() const override;

    std::vector<std::string> getFcnNames() const;
    void setFcnNames(const std::vector<std::string>& fcnNames);
    // Appends `fcnName` unless it is already listed.
    void addFcnName(const std::string& fcnName);

private:
    std::vector<std::string> fcnNames_;
};

}  // namespace SCM
