#pragma once

#include <pybind11/pybind11.h>

namespace scmpy {

// Adds the functions that report what no published method returns: why a registry could not be
// opened, and what its write cache could not write. Each takes the object of a registry
// (SharedCodeManagerInterface or a subclass); an object of another class, or one without a
// backend, reports nothing.
//   open_error(registry) -> str: why the registry's file or database could not be opened (the
//       library's messages, naming it); "" when it is open.
//   unwritten_entries(registry) -> (count, reason): the entries a failed batch left unwritten
//       (the cache retries them), and why ("" when none); takes nothing.
//   take_unwritten_entries(registry) -> ([(identity, data), ...], reason): hands them over.
//   take_refused_entries(registry) -> [(identity, data), ...]: hands over the cached entries
//       that their stored records refused.
// Handed-over entries are fresh copies that Python owns.
void registerRegistryReports(pybind11::module_& module);

}  // namespace scmpy
