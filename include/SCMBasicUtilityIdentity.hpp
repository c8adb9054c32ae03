#pragma once

#include <string>

#include "SCMIdentity.hpp"

namespace SCM {

// Key of a utility (category SCM_UTILITIES): the utility identifier and, when the symbol string
// is not empty, the symbol string and (if included) the maximum identifier length. Every setter
// makes the next getChecksum() recompute.
class SCM_EXPORT SCMBasicUtilityIdentity : public SCMIdentity {
public:
    SCMBasicUtilityIdentity();
    explicit SCMBasicUtilityIdentity(const std::string& utilityIdentifier);
    SCMBasicUtilityIdentity(const SCMBasicUtilityIdentity& other);
    ~SCMBasicUtilityIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    void computeChecksum() override;
    SCMIdentity* clone() const override;

    const std::string& getUtilityIdentifier() const;
    void setUtilityIdentifier(std::string utilityIdentifier);
    const std::string& getSymbolString() const;
    void setSymbolString(std::string symbolString);
    int getMaxIdLength() const;
    void setMaxIdLength(int maxIdLength);
    bool includeMaxIdLength() const;
    void setIncludeMaxIdLength(bool include);

private:
    std::string utilityIdentifier_;
    std::string symbolString_;
    int maxIdLength_ = 0;
    bool includeMaxIdLength_ = true;
};

}  // namespace SCM
