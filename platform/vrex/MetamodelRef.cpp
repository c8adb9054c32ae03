#include "vrex/MetamodelRef.hpp"

#include "vrex/internal/session/RefAccess.hpp"

namespace vrex {

using internal::RefAccess;

PackageRef MetamodelRef::findPackage(const std::string& name) const {
    const internal::PackageInfo* found = model_ ? model_->findPackage(name) : nullptr;
    if (found == nullptr) return PackageRef();
    return RefAccess::package(RefAccess::alias(model_, found));
}

std::vector<PackageRef> MetamodelRef::packages() const {
    std::vector<PackageRef> all;
    if (!model_) return all;
    for (const auto& package : model_->packages()) {
        all.push_back(RefAccess::package(RefAccess::alias(model_, package.get())));
    }
    return all;
}

}  // namespace vrex
