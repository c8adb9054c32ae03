#pragma once

#include <string>
#include <vector>

#include "kobj/qaArray.hpp"
#include "kobj/Handle.hpp"

// Object results handed to scripts. A binding that returns a library object says here whether the
// script receives it to own (a fresh object) or only to see (Handle::toScriptValue: borrowed).
namespace kobj {

// A 1 x 1 value that owns `object` (adopted: deleted with the value's last copy unless released),
// under the class the object itself reports. When `object` is null: an empty value (0 x 0) of
// `declaredClass`.
qaArray ownedObject(tv::mi::Handle* object, const std::string& declaredClass);

// A 1 x n object array that owns `objects`, in order, whose class the class system settles
// (settleClass) starting from `declaredClass`. An empty list gives a 1 x 0 array of
// `declaredClass`.
qaArray ownedObjectRow(const std::vector<tv::mi::Handle*>& objects,
                       const std::string& declaredClass);

template <class T>
qaArray ownedObjectRow(const std::vector<T*>& objects, const std::string& declaredClass) {
    return ownedObjectRow(std::vector<tv::mi::Handle*>(objects.begin(), objects.end()),
                          declaredClass);
}

// Heterogeneous-array class setting: gives the object array `row` the nearest published class
// that all its elements belong to. Keeps the class it has (the declared class) when the row is
// empty, when an element is of no published class, or when the elements share only the root.
void settleClass(qaArray& row);

}  // namespace kobj
