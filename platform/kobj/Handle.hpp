#pragma once

#include <memory>

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

    // The object of a 1 x 1 object value when it belongs to the published class
    // `publishedClassName` or to a subclass (by the class system's superclass tree); null for any
    // other value. Borrowed: valid while the value (or whoever owns the object) keeps it.
    static Handle* fromScriptValue(const qaArray& value, const char* publishedClassName);
    // The same check, but the caller takes the object over (qaArray::release): no copy of `value`
    // deletes it any more. Null, with nothing changed, when the check fails or the value does not
    // own its object.
    static Handle* releaseFromScriptValue(const qaArray& value, const char* publishedClassName);
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

// The object `value` holds, taken over as a T (see Handle::releaseFromScriptValue): null when it
// holds no object of `publishedClassName`, or one that is no T, which is then deleted.
template <typename T>
std::unique_ptr<T> releaseScriptObjectAs(const qaArray& value, const char* publishedClassName) {
    std::unique_ptr<Handle> handle(Handle::releaseFromScriptValue(value, publishedClassName));
    T* object = dynamic_cast<T*>(handle.get());
    if (object != nullptr) handle.release();
    return std::unique_ptr<T>(object);
}

}  // namespace tv::mi
