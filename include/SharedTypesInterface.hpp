#pragma once

#include <string>
#include <vector>

#include "SharedCodeManagerInterface.hpp"

namespace SCM {

// Registry facade for shared types.
class SCM_EXPORT SharedTypesInterface : public SharedCodeManagerInterface {
public:
    SharedTypesInterface();
    // Opens (or creates) the registry file `dictionaryFile`, as SharedCodeManagerInterface does.
    explicit SharedTypesInterface(const std::string& dictionaryFile);
    ~SharedTypesInterface() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // The names of every stored entry of SCM_SHARED_TYPES, in store order, duplicates kept.
    virtual std::vector<std::string> getAllTypesNames();
};

}  // namespace SCM
