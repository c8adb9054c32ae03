#pragma once

#include <atomic>
#include <type_traits>
#include <typeinfo>

#include "kobj/Handle.hpp"

namespace tv::mi {

// `object` as a T, or null when it is null or no T: the answer of dynamic_cast<T*>. An object of
// exactly T needs no search of its class hierarchy, and neither does one of the subclass of T met
// last (readers of a registry meet thousands of objects of one subclass in a row). Assumes, as
// every published class does, that the object's class has Handle as a base only once.
template <class T>
T* handleCast(Handle* object) {
    static_assert(std::is_base_of_v<Handle, T>, "T must be a Handle");
    if (object == nullptr) return nullptr;
    static std::atomic<const std::type_info*> subclassSeenLast{nullptr};
    const std::type_info& type = typeid(*object);
    // The pointer comparison first: type_info's == compares names when the types differ.
    if (&type == subclassSeenLast.load(std::memory_order_relaxed) || type == typeid(T)) {
        return static_cast<T*>(object);
    }
    T* typed = dynamic_cast<T*>(object);
    if (typed != nullptr) subclassSeenLast.store(&type, std::memory_order_relaxed);
    return typed;
}

}  // namespace tv::mi
