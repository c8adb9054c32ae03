#pragma once

#include <string>
#include <vector>

#include "SCMSharedFunctionData.hpp"
#include "SCMSharedFunctionIdentity.hpp"
#include "SharedCodeManagerInterface.hpp"

namespace SCM {

// Registry facade for shared functions.
class SCM_EXPORT SharedFunctionInterface : public SharedCodeManagerInterface {
public:
    SharedFunctionInterface();
    // Opens (or creates) the registry file `dictionaryFile`, as SharedCodeManagerInterface does.
    explicit SharedFunctionInterface(const std::string& dictionaryFile);
    ~SharedFunctionInterface() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // Inert: returns "" and stores nothing (shared functions are registered through registerData).
    virtual std::string registerSharedFunction(SCMSharedFunctionIdentity* identity,
                                               SCMSharedFunctionData* data);
    // The names of every stored shared function, in store order, duplicates kept.
    virtual std::vector<std::string> getAllFunctionNames();
};

}  // namespace SCM
