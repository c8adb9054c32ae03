#pragma once

#include <memory>

namespace vrex {

namespace internal {
struct PropertyInfo;
struct RefAccess;
}  // namespace internal

// A property of a metamodel class, found with ClassRef::findProperty. A light value: copies refer
// to the same property. A default-constructed one is null. A ref keeps its metamodel alive, so
// using one after its repository closed is safe: the repository then refuses it with a diagnostic.
class PropertyRef {
public:
    PropertyRef() = default;

    bool isNull() const { return info_ == nullptr; }
    explicit operator bool() const { return info_ != nullptr; }

    bool operator==(const PropertyRef& other) const { return info_ == other.info_; }
    bool operator!=(const PropertyRef& other) const { return info_ != other.info_; }

private:
    friend struct internal::RefAccess;
    explicit PropertyRef(std::shared_ptr<const internal::PropertyInfo> info) : info_(std::move(info)) {}

    std::shared_ptr<const internal::PropertyInfo> info_;
};

}  // namespace vrex
