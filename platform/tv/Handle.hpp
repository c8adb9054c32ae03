#pragma once

#include "kobj/qaArray.hpp"

namespace tv::mi {

// Base of every object that scripts can hold: identities, data records and registry facades.
// Its virtual operations come first in every derived class, in this order: the destructor, the
// published class name, then the six handle operations.
class Handle {
public:
    Handle() = default;
    Handle(const Handle&) = default;
    Handle& operator=(const Handle&) = default;
    virtual ~Handle();

    // The published class name, "SharedCodeManager.<ShortName>" for the library's classes.
    virtual const char* getFullyQualifiedKobjTypeName() const = 0;

    // A 1 x 1 object value that refers to this object without owning it: valid while this
    // object lives. Its class is the name this object reports.
    virtual qaArray toScriptValue();
    // Hooks the class system calls around a property assignment. They do nothing here.
    virtual void preSetPropFcn(const char* propertyName);
    virtual void postSetPropFcn(const char* propertyName);
    // Hook called before the object is saved by the scripting environment. Does nothing here.
    virtual void saveHook();
    // Hooks that bracket a use of the object from a script. They do nothing here: the library has
    // no threads.
    virtual void lock();
    virtual void unlock();
};

}  // namespace tv::mi
