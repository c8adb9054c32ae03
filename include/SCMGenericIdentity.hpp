#pragma once

#include <string>

#include "SCMIdentity.hpp"

namespace SCM {

// Key of an entry of any category by one desired identifier. The category is not part of the
// checksum: storage keeps equal identifiers of different categories apart. Setting the
// identifier makes the next getChecksum() recompute.
class SCM_EXPORT SCMGenericIdentity : public SCMIdentity {
public:
    explicit SCMGenericIdentity(SCMTypes type);
    SCMGenericIdentity(SCMTypes type, const std::string& desiredIdentifier);
    SCMGenericIdentity(const SCMGenericIdentity& other);
    ~SCMGenericIdentity() override;

    const char* getFullyQualifiedKobjTypeName() const override;
    void computeChecksum() override;
    SCMIdentity* clone() const override;

    const std::string& getDesiredIdentifier() const;
    void setDesiredIdentifier(const std::string& desiredIdentifier);

private:
    std::string desiredIdentifier_;
};

}  // namespace SCM
