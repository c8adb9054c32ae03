#pragma once

#include <string>
#include <vector>

#include "SCMBasicUtilityData.hpp"
#include "SCMBasicUtilityIdentity.hpp"
#include "SharedCodeManagerInterface.hpp"

namespace SCM {

// Registry facade for utility routines, with the utility naming protocol.
class SCM_EXPORT SharedUtilityInterface : public SharedCodeManagerInterface {
public:
    SharedUtilityInterface();
    // Opens (or creates) the registry file `dictionaryFile`, as SharedCodeManagerInterface does.
    explicit SharedUtilityInterface(const std::string& dictionaryFile);
    ~SharedUtilityInterface() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // Inert here: returns "" and stores nothing. SharedUtilityNullInterface grants the name.
    virtual std::string registerUtilityIdentifier(SCMBasicUtilityIdentity* identity,
                                                  SCMBasicUtilityData* data);
    // Builds the identity `name` and the record (name, multiword, complex) and answers what
    // registerUtilityIdentifier() answers for them.
    virtual std::string getRegisteredUtilityName(const std::string& name, bool multiword,
                                                 bool complex);
    // The identifiers of every stored utility, sorted byte-wise, each once.
    virtual std::vector<std::string> getAllIdentifiers();
    // retrieveIdentityAndDataForName(SCM_UTILITIES, name), with its ownership: new objects the
    // caller deletes, or the write cache's own pair (isBackendOwned), which must not be deleted.
    virtual SCMIdentityDataPair getIdentityAndDataForName(const std::string& name);
};

}  // namespace SCM
