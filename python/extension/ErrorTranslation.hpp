#pragma once

#include <pybind11/pybind11.h>

namespace scmpy {

// Adds the exception class Error to `module` and makes every kobj::Error that reaches Python an
// Error carrying the class system's identifier ("kobj:errorMustBeString") as `identifier` and the
// zero-based element index as `index` (None when the error names no element). Error derives from
// TypeError: the class system's errors are about values of the wrong kind.
//
// The library's standard exceptions keep pybind11's translation: std::out_of_range becomes
// IndexError, std::bad_alloc MemoryError, any other std::exception RuntimeError.
void registerErrorTranslation(pybind11::module_& module);

}  // namespace scmpy
