#pragma once

#include <string>
#include <vector>

#include "kobj/COSPropInfo.hpp"
#include "kobj/ClassRecord.hpp"
#include "kobj/qaArray.hpp"
#include "kobj/Handle.hpp"

// The by-name interface to published classes that every front end uses (scripts, the Python
// module, the command-line tool): create objects, read and write properties, call methods, all
// through the published names and script values. Every value check happens here, so every front
// end reports the same kobj::Error. Exceptions of the library itself (std::out_of_range, ...)
// pass through unchanged.
namespace kobj {

// A new object of the published class `className`, made by the first of its published
// constructors whose signature accepts `arguments`. The result owns the object. Throws
// kobj::Error "kobj:unknownClass", "kobj:abstractClass" (no published constructor) or
// "kobj:noMatchingConstructor" (its message lists the signatures).
qaArray construct(const std::string& className, const std::vector<qaArray>& arguments);

// The value of the property `name` (published by the object's class or a superclass). `object`
// is a 1 x 1 object value, owned or borrowed. Throws kobj::Error "kobj:notAnObject" or
// "kobj:unknownProperty".
qaArray getProperty(const qaArray& object, const std::string& name);

// Writes the property `name`, between the object's pre- and post-set hooks. Throws
// "kobj:notAnObject", "kobj:unknownProperty", "kobj:readOnlyProperty", or the conversion error of
// `value`.
void setProperty(const qaArray& object, const std::string& name, const qaArray& value);
// The same for a property record already found, on the object itself.
void setProperty(tv::mi::Handle& object, const COSPropInfo& property, const qaArray& value);
// The same, moving texts out of `value` into the object instead of copying them.
void setProperty(tv::mi::Handle& object, const COSPropInfo& property, qaArray&& value);

// Calls the method `name` with `arguments` (the object itself not included) and returns its
// result ([] when it has none). Throws "kobj:notAnObject", "kobj:unknownMethod",
// "kobj:wrongNumberOfArguments", or the conversion errors of the arguments.
qaArray callMethod(const qaArray& object, const std::string& name,
                   const std::vector<qaArray>& arguments);

// The object of a 1 x 1 object value of a published class, borrowed. Throws "kobj:notAnObject"
// for any other value.
tv::mi::Handle& objectOf(const qaArray& value);
// The published class of that object (which may differ from the name the object reports).
const ClassRecord& classOf(const qaArray& value);

}  // namespace kobj
