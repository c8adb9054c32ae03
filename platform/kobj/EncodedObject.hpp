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

// Reads one encoding that starts at `next` (after optional white space) inside a longer text
// ending at `end`, with the same rules but for the byte order mark and what follows the object,
// which is not looked at. On success `next` points just past the object's closing brace; on
// failure `next` is unchanged and `object` unspecified.
bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object);

}  // namespace kobj
