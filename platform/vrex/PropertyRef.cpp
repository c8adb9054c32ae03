#include "vrex/PropertyRef.hpp"

#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex {

namespace {
const std::string kNoName;
}  // namespace

const std::string& PropertyRef::name() const { return info_ ? info_->name : kNoName; }

PropertyKind PropertyRef::kind() const { return info_ ? info_->kind : PropertyKind::Text; }

bool PropertyRef::isIndexed() const { return info_ && info_->indexed; }

}  // namespace vrex
