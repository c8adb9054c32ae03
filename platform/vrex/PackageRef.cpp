#include "vrex/PackageRef.hpp"

#include "vrex/internal/session/RefAccess.hpp"

namespace vrex {

namespace {
const std::string kNoName;
}  // namespace

using internal::RefAccess;

const std::string& PackageRef::name() const { return info_ ? info_->name : kNoName; }

ClassRef PackageRef::findClass(const std::string& name) const {
    const internal::ClassInfo* found = info_ ? info_->findClass(name) : nullptr;
    if (found == nullptr) return ClassRef();
    return RefAccess::cls(RefAccess::alias(info_, found));
}

}  // namespace vrex
