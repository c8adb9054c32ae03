#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kobj/qaArray.hpp"

namespace kobj {

// An object as the whole-object encoding holds it: its published class name and its property
// values, in the order of the text.
struct EncodedObject {
    std::string className;
    std::vector<std::pair<std::string, qaArray>> properties;
};

// Reads an encoding's JSON text: one JSON object with a "class" string and one member per
// property, each a string (a text), true or false (logical), an integer in the int32 or uint32
// range, or an array of strings (a cell column). Strings map back to bytes as JsonText.hpp says.
// Returns false, with `object` unspecified, for anything else: invalid or truncated JSON, another
// shape, a repeated key, a number out of range, a code point above U+00FF. Never throws for bad
// input.
bool readEncodedObject(const std::string& text, EncodedObject& object);

}  // namespace kobj
