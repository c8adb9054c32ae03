#pragma once

#include <memory>
#include <string>
#include <vector>

#include "vrex/PackageRef.hpp"

namespace vrex {

namespace internal {
class Metamodel;
}  // namespace internal

// The metamodel of an open repository (DataModelRepository::metamodel). A light value;
// default-constructed it is null and finds no packages.
class MetamodelRef {
public:
    MetamodelRef() = default;

    bool isNull() const { return model_ == nullptr; }
    explicit operator bool() const { return model_ != nullptr; }

    // The package called exactly `name`; null when there is none.
    PackageRef findPackage(const std::string& name) const;
    // Every package in metamodel order; empty for a null metamodel.
    std::vector<PackageRef> packages() const;

private:
    friend struct internal::RefAccess;
    explicit MetamodelRef(std::shared_ptr<const internal::Metamodel> model) : model_(std::move(model)) {}

    std::shared_ptr<const internal::Metamodel> model_;
};

}  // namespace vrex
