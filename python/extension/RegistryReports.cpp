#include "RegistryReports.hpp"

#include <string>
#include <vector>

#include "SCMDataAdapter.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "ScriptObject.hpp"
#include "SharedCodeManagerInterface.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectValues.hpp"

namespace py = pybind11;

namespace scmpy {

namespace {

// The registry's backend, borrowed; null when `object` is no registry or has none.
SCM::SCMDataAdapter* backendOf(const ScriptObject& object) {
    auto* registry = dynamic_cast<SCM::SharedCodeManagerInterface*>(&kobj::objectOf(object.value()));
    return registry != nullptr ? registry->getDataAdapter() : nullptr;
}

// A fresh copy of `object` for Python to own.
template <class T>
py::object ownedCopy(const T& object, const char* declaredClass) {
    return py::cast(ScriptObject(kobj::ownedObject(object.clone(), declaredClass)));
}

py::list toPython(const std::vector<SCM::SCMCachedEntry>& entries) {
    py::list pairs;
    for (const auto& [identity, data] : entries) {
        pairs.append(py::make_tuple(ownedCopy(*identity, "SharedCodeManager.Identity"),
                                    ownedCopy(*data, "SharedCodeManager.Data")));
    }
    return pairs;
}

std::string openError(const ScriptObject& registry) {
    const auto* backend = dynamic_cast<const SCM::SCMVrexDataAdapter*>(backendOf(registry));
    return backend != nullptr ? backend->getOpenError() : "";
}

py::tuple unwrittenEntries(const ScriptObject& registry) {
    const SCM::SCMDataAdapter* backend = backendOf(registry);
    if (backend == nullptr) return py::make_tuple(0, "");
    return py::make_tuple(backend->countBatchFailures(), backend->batchFailureReason());
}

py::tuple takeUnwrittenEntries(const ScriptObject& registry) {
    SCM::SCMDataAdapter* backend = backendOf(registry);
    if (backend == nullptr) return py::make_tuple(py::list(), "");
    const SCM::SCMBatchFailures failures = backend->takeBatchFailures();
    return py::make_tuple(toPython(failures.entries), failures.reason);
}

py::list takeRefusedEntries(const ScriptObject& registry) {
    SCM::SCMDataAdapter* backend = backendOf(registry);
    return backend != nullptr ? toPython(backend->takeRefusedEntries()) : py::list();
}

}  // namespace

void registerRegistryReports(py::module_& module) {
    module.def("open_error", &openError, py::arg("registry"),
               "Why the registry could not be opened; \"\" when it is open.");
    module.def("unwritten_entries", &unwrittenEntries, py::arg("registry"),
               "(count, reason) of the entries the write cache could not write yet.");
    module.def("take_unwritten_entries", &takeUnwrittenEntries, py::arg("registry"),
               "([(identity, data), ...], reason): hands over the entries the write cache could "
               "not write; it no longer retries them.");
    module.def("take_refused_entries", &takeRefusedEntries, py::arg("registry"),
               "[(identity, data), ...]: hands over the cached entries their stored records "
               "refused.");
}

}  // namespace scmpy
