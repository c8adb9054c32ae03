#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vrex/ObjectRef.hpp"

namespace vrex {

// One object and the stored texts of the properties a readStoredTexts call named, in that order:
// each as it lies in the registry (a text property's value, or an object property's encoded text,
// not decoded), nullopt when the property is unset.
struct StoredObject {
    ObjectRef object;
    std::vector<std::optional<std::string>> texts;
};

}  // namespace vrex
