#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vrex/ClassRef.hpp"

namespace vrex {

namespace internal {
struct PackageInfo;
}  // namespace internal

// A package of the metamodel, found with MetamodelRef::findPackage. A light value;
// default-constructed it is null, and a null package finds no class and is named "".
class PackageRef {
public:
    PackageRef() = default;

    bool isNull() const { return info_ == nullptr; }
    explicit operator bool() const { return info_ != nullptr; }
    const std::string& name() const;

    // The class called exactly `name` (case matters); null when the package has none.
    ClassRef findClass(const std::string& name) const;

    bool operator==(const PackageRef& other) const { return info_ == other.info_; }
    bool operator!=(const PackageRef& other) const { return info_ != other.info_; }

private:
    friend struct internal::RefAccess;
    explicit PackageRef(std::shared_ptr<const internal::PackageInfo> info) : info_(std::move(info)) {}

    std::shared_ptr<const internal::PackageInfo> info_;
};

}  // namespace vrex
