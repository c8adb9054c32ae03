#pragma once

#include <string>
#include <vector>

#include "vrex/PropertyRef.hpp"
#include "vrex/PropertyValueMatchRelation.hpp"

namespace vrex {

// The conditions of DataModelRepository::findObjects: an object matches when it meets every
// constraint. Each constraint compares one text property of the searched class with a value.
class MatchConstraints {
public:
    struct Constraint {
        PropertyRef property;
        PropertyValueMatchRelation relation;
        std::string value;
    };

    // Adds one condition. Whether `property` fits the searched class is checked by findObjects.
    void add(const PropertyRef& property, PropertyValueMatchRelation relation, std::string value);

    bool empty() const { return constraints_.empty(); }
    std::size_t size() const { return constraints_.size(); }
    const std::vector<Constraint>& constraints() const { return constraints_; }

private:
    std::vector<Constraint> constraints_;
};

}  // namespace vrex
