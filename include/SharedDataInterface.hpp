#pragma once

#include <string>
#include <vector>

#include "SharedCodeManagerInterface.hpp"

namespace SCM {

// Registry facade for shared data.
class SCM_EXPORT SharedDataInterface : public SharedCodeManagerInterface {
public:
    SharedDataInterface();
    // Opens (or creates) the registry file `dictionaryFile`, as SharedCodeManagerInterface does.
    explicit SharedDataInterface(const std::string& dictionaryFile);
    ~SharedDataInterface() override;

    const char* getFullyQualifiedKobjTypeName() const override;

    // The names of every stored entry of SCM_SHARED_DATA, in store order, duplicates kept.
    virtual std::vector<std::string> getAllDataNames();
};

}  // namespace SCM
