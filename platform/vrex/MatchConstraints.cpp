#include "vrex/MatchConstraints.hpp"

namespace vrex {

void MatchConstraints::add(const PropertyRef& property, PropertyValueMatchRelation relation,
                           std::string value) {
    constraints_.push_back({property, relation, std::move(value)});
}

}  // namespace vrex
