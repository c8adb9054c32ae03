#pragma once

#include <optional>
#include <string>
#include <vector>

#include "vrex/ObjectRef.hpp"

namespace vrex {

// One object and the stored texts (see DataModelRepository::getStoredText) of the properties a
// readStoredTexts call named, in that order.
struct StoredObject {
    ObjectRef object;
    std::vector<std::optional<std::string>> texts;
};

}  // namespace vrex
