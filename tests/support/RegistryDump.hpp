#pragma once

// A registry's whole content as one string, to compare registries or one registry over time.

#include <string>

#include "SCMModuleEntry.hpp"
#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"

namespace scm_test {

// Per category in value order, one line per entry in store order: the category, then the
// identity's and the record's whole-object encodings. Opens (and so creates) the registry.
inline std::string registryDump(const std::string& location) {
    HxInitialize_shared_code_manager();
    SCM::SharedCodeManagerInterface registry(location);
    std::string dump;
    for (int value = SCM::SCM_UTILITIES; value <= SCM::SCM_SHARED_CONSTANTS; ++value) {
        const auto type = static_cast<SCM::SCMTypes>(value);
        std::vector<SCM::SCMIdentity*> identities = registry.retrieveAllIdentities(type);
        std::vector<SCM::SCMData*> records = registry.retrieveAllData(type);
        for (std::size_t i = 0; i < identities.size(); ++i) {
            dump += SCM::scmTypeToString(type) + " " + kobj::encodeObject(identities[i]->toScriptValue());
            if (i < records.size()) dump += " " + kobj::encodeObject(records[i]->toScriptValue());
            dump += "\n";
        }
        for (SCM::SCMIdentity* identity : identities) delete identity;
        for (SCM::SCMData* record : records) delete record;
    }
    return dump;
}

}  // namespace scm_test
