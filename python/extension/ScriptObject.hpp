#pragma once

#include <string>

#include "kobj/qaArray.hpp"

namespace scmpy {

// One object of a published class as Python holds it: a 1 x 1 object value that owns the object
// (a fresh object that Python created or received), or that only refers to it and then keeps the
// object's lender alive, so that Python never holds a pointer the library may free. Copies of
// the value held elsewhere share the object; it is deleted with the last of them.
class ScriptObject {
public:
    // `value` holds the object; `lender`, when not empty, is the value of the object that lent it.
    explicit ScriptObject(qaArray value, qaArray lender = qaArray());

    // The object value. Throws pybind11::value_error once the object was released.
    const qaArray& value() const;
    // The object's published class ("SharedCodeManager.BasicUtilityIdentity").
    const std::string& className() const { return className_; }
    bool isReleased() const { return released_; }
    // Drops this holder's share of the object (deleting it when that was the last share).
    // Releasing again does nothing.
    void release();

private:
    qaArray value_;
    qaArray lender_;
    std::string className_;
    bool released_ = false;
};

}  // namespace scmpy
