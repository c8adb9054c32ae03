#pragma once

#include <pybind11/pybind11.h>

#include <string>
#include <vector>

#include "kobj/qaArray.hpp"

// Conversion between Python values and script values. Only the shape of a value is converted
// here; whether it fits the type a property or argument takes is the class system's check, so
// Python reports the same errors as every other front end.
//
//   Python                                script value
//   None, empty list or tuple             []  (a missing value; an empty list of texts or objects)
//   str                                   character row: UTF-8, lone surrogate escapes as bytes
//   bytes, bytearray                      character row, byte for byte
//   bool                                  logical scalar
//   int (any integer type)                int32 scalar, or uint32 scalar from 2**31 to 2**32 - 1
//   ScriptObject                          its object value
//   list or tuple of ScriptObjects        1 x n object array
//   other list or tuple                   n x 1 cell of the converted elements
namespace scmpy {

// Throws pybind11::type_error for a value of no kind above, and pybind11 errors for integers
// outside -2**31 .. 2**32 - 1 (OverflowError) and texts that cannot be encoded (UnicodeError).
qaArray toScript(pybind11::handle value);
std::vector<qaArray> toScriptList(const pybind11::sequence& values);

// The Python value of `value`, shaped by `declaredType`, the type text the catalogue declares
// for it ("" when there is none): a character row becomes str (bytes that are not UTF-8 as lone
// surrogates, 'surrogateescape'), logicals bool, integers int, a cell a list, [] None (or [] for
// a declared list). Objects become ScriptObjects: one object for a declared object type (None
// when missing), a list for a declared "<class> vector". Objects that `lender` only lends keep
// `lender` alive.
pybind11::object toPython(const qaArray& value, const std::string& declaredType,
                          const qaArray& lender = qaArray());

}  // namespace scmpy
