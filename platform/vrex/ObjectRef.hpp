#pragma once

#include <cstdint>
#include <memory>

#include "vrex/ClassRef.hpp"

namespace vrex {

// One object (one row) of a registry, as created or found by its DataModelRepository. A light
// value: its class and its id, which is unique within the class and grows in creation order.
// Default-constructed it is null, with a null class and the id 0.
class ObjectRef {
public:
    ObjectRef() = default;

    bool isNull() const { return class_.isNull(); }
    explicit operator bool() const { return !class_.isNull(); }
    ClassRef objectClass() const { return class_; }
    std::int64_t id() const { return id_; }

    bool operator==(const ObjectRef& other) const { return class_ == other.class_ && id_ == other.id_; }
    bool operator!=(const ObjectRef& other) const { return !(*this == other); }

private:
    friend struct internal::RefAccess;
    ObjectRef(ClassRef objectClass, std::int64_t id) : class_(std::move(objectClass)), id_(id) {}

    ClassRef class_;
    std::int64_t id_ = 0;
};

}  // namespace vrex
