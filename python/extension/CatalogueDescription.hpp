#pragma once

#include <pybind11/pybind11.h>

#include <string>

namespace scmpy {

// The published classes of the package `packageName`, in its registration order, as plain Python
// data from which the package builds its classes and their documentation. Each class is a dict:
//
//   name          "SharedCodeManager.BasicUtilityIdentity"
//   short_name    "BasicUtilityIdentity" (the name after the last point)
//   superclass    published name of the superclass ("velmor.mixin.Heterogeneous" for a root)
//   description   one line about the class
//   constructors  list of {"usage": "BasicUtilityIdentity(str)"}, in publication order
//   methods       list of {"name", "usage": "getType() -> str", "signature": the published
//                 signature, "hidden": bool}
//   properties    list of {"name", "type": the published type text, "python_type": "str",
//                 "read_only", "hidden", "dependent": bools from the attribute word}
//
// Only the class's own members are listed; inherited ones are its superclasses'. An unknown
// package gives an empty list.
pybind11::list describePackage(const std::string& packageName);

// How a value of the published type text `typeText` looks in Python: "str", "bool",
// "int (uint32)", "list of str", "BasicUtilityIdentity", "list of Identity", ...
std::string pythonTypeOf(const std::string& typeText);

}  // namespace scmpy
