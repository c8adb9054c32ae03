#pragma once

#include <string>
#include <vector>

#include "kobj/qaArray.hpp"
#include "kobj/Handle.hpp"

// The published properties of identities and data records, read through the class catalogue:
// what `scm show` prints and what a clash report compares.
namespace scm_tool {

struct PropertyValue {
    std::string name;
    qaArray value;
    bool hidden;  // a Hidden property: left out of the default display
};

// A property in which an offered record differs from the stored one.
struct Difference {
    std::string property;
    qaArray stored;
    qaArray offered;
};

// The published class of `object` ("SharedCodeManager.SharedFunctionData").
std::string publishedClassName(tv::mi::Handle& object);

// Every published property of `object`'s class and its superclasses, root class first, with the
// value its getter gives.
std::vector<PropertyValue> propertiesOf(tv::mi::Handle& object);

// The properties in which `offered` differs from `stored`, in catalogue order. Objects of two
// classes differ first in "class" (their published names), then in the properties both have.
std::vector<Difference> differences(tv::mi::Handle& stored, tv::mi::Handle& offered);

}  // namespace scm_tool
