#pragma once

#include <cstdint>
#include <memory>

#include "vrex/MetamodelRef.hpp"
#include "vrex/ObjectRef.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// The one way into the refs' private parts: makes refs, and reads the metamodel part a ref stands
// for. Each ref shares ownership of its whole metamodel (aliasing shared pointers).
struct RefAccess {
    static MetamodelRef metamodel(std::shared_ptr<const Metamodel> model) {
        return MetamodelRef(std::move(model));
    }
    static PackageRef package(std::shared_ptr<const PackageInfo> info) { return PackageRef(std::move(info)); }
    static ClassRef cls(std::shared_ptr<const ClassInfo> info) { return ClassRef(std::move(info)); }
    static PropertyRef property(std::shared_ptr<const PropertyInfo> info) {
        return PropertyRef(std::move(info));
    }
    static ObjectRef object(const ClassRef& cls, std::int64_t id) { return ObjectRef(cls, id); }

    static const Metamodel* info(const MetamodelRef& ref) { return ref.model_.get(); }
    static const ClassInfo* info(const ClassRef& ref) { return ref.info_.get(); }
    static const PropertyInfo* info(const PropertyRef& ref) { return ref.info_.get(); }

    // A pointer to `part` that shares the ownership held by `owner`.
    template <typename Part, typename Owner>
    static std::shared_ptr<const Part> alias(const std::shared_ptr<Owner>& owner, const Part* part) {
        return std::shared_ptr<const Part>(owner, part);
    }
};

}  // namespace vrex::internal
