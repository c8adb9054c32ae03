#pragma once

#include <string>
#include <vector>

#include "SharedUtilityInterface.hpp"

namespace SCM {

// A utility facade without a store: it accepts every registration (IS_REGISTERED), remembers
// nothing, and grants every utility the name asked for. It has no backend, so the operations it
// does not override answer as on a facade whose store does not exist (IS_TRANSACTION_ERROR, null,
// an empty list). Its retrievals return nothing, so nothing is handed over to delete.
class SCM_EXPORT SharedUtilityNullInterface : public SharedUtilityInterface {
public:
    SharedUtilityNullInterface();
    ~SharedUtilityNullInterface() override;

    SCMRegistry registerData(SCMIdentity* identity, SCMData* data) override;
    SCMData* retrieveData(SCMIdentity* identity) override;
    std::vector<SCMIdentity*> retrieveAllIdentities(SCMTypes type) override;
    std::vector<SCMData*> retrieveAllData(SCMTypes type) override;
    SCMRegistry registerDataInTransaction(SCMIdentity* identity, SCMData* data) override;
    // The record's name with encodings.
    std::string registerUtilityIdentifier(SCMBasicUtilityIdentity* identity,
                                          SCMBasicUtilityData* data) override;
};

}  // namespace SCM
