#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vrex/PropertyRef.hpp"

namespace vrex {

namespace internal {
struct ClassInfo;
}  // namespace internal

// A class of the metamodel (one table of the registry), found with PackageRef::findClass. A light
// value; default-constructed it is null, and a null class finds no property and is named "".
class ClassRef {
public:
    ClassRef() = default;

    bool isNull() const { return info_ == nullptr; }
    explicit operator bool() const { return info_ != nullptr; }
    const std::string& name() const;

    // The property called exactly `name` (case matters); null when the class has none.
    PropertyRef findProperty(const std::string& name) const;

    bool operator==(const ClassRef& other) const { return info_ == other.info_; }
    bool operator!=(const ClassRef& other) const { return info_ != other.info_; }

private:
    friend struct internal::RefAccess;
    explicit ClassRef(std::shared_ptr<const internal::ClassInfo> info) : info_(std::move(info)) {}

    std::shared_ptr<const internal::ClassInfo> info_;
};

}  // namespace vrex
