#include "vrex/ClassRef.hpp"

#include "vrex/internal/session/RefAccess.hpp"

namespace vrex {

namespace {
const std::string kNoName;
}  // namespace

using internal::RefAccess;

const std::string& ClassRef::name() const { return info_ ? info_->name : kNoName; }

PropertyRef ClassRef::findProperty(const std::string& name) const {
    const internal::PropertyInfo* found = info_ ? info_->findProperty(name) : nullptr;
    if (found == nullptr) return PropertyRef();
    return RefAccess::property(RefAccess::alias(info_, found));
}

}  // namespace vrex
