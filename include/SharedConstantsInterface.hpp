#pragma once

#include <string>
#include <vector>

#include "SharedCodeManagerInterface.hpp"

namespace SCM {

// Registry facade for shared constants.
class SCM_EXPORT SharedConstantsInterface : public SharedCodeManagerInterface {
public:
    SharedConstantsInterface();
    // Opens (or creates) the registry file `dictionaryFile`, as SharedCodeManagerInterface does.
    explicit SharedConstantsInterface(const std::string& dictionaryFile);
    ~SharedConstantsInterface() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // The names of every stored entry of SCM_SHARED_CONSTANTS, in store order, duplicates kept.
    virtual std::vector<std::string> getAllConstantsNames();
};

}  // namespace SCM
