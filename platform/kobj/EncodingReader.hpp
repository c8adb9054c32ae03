#pragma once

#include <string>
#include <utility>
#include <vector>

#include "kobj/ScannedObject.hpp"
#include "kobj/qaArray.hpp"

namespace kobj {

// Why a text was refused: where (the 1-based column, in bytes from where the reading started) and
// what, in a sentence without that column ("property \"Name\": an array holds texts only, not
// arrays"). A message quotes at most a short excerpt of the text.
struct ReadError {
    std::size_t column = 0;
    std::string message;
};

// An object as the whole-object encoding holds it: its published class name and its property
// values, in the order of the text.
struct EncodedObject {
    std::string className;
    std::vector<std::pair<std::string, qaArray>> properties;
};

// Reads an encoding's JSON text: one JSON object with a "class" string and one member per
// property, each a string (a text), true or false (logical), an integer in the int32 or uint32
// range, or an array of strings (a cell column). Strings map back to bytes as JsonEscaping.hpp says.
// Returns false, with `object` unspecified, for anything else: invalid or truncated JSON, another
// shape, a repeated key, a number out of range, a code point above U+00FF. Never throws for bad
// input.
bool readEncodedObject(const std::string& text, EncodedObject& object);

// The same, and on failure `error` says what is wrong and where; a value's error names its
// property.
bool readEncodedObject(const std::string& text, EncodedObject& object, ReadError& error);

// Checks `text` whole as readEncodedObject does and notes where its class name and members lie,
// decoding no string. Returns false, with `object` unspecified, for a text readEncodedObject
// refuses. Allocates nothing for an object of up to 16 members.
bool scanEncodedObject(const std::string& text, ScannedObject& object);

// The bytes of a string, and the texts of a list, of a successful scan whose text still lives.
std::string decodedText(const ScannedString& scanned);
std::vector<std::string> decodedTexts(const ScannedValue& list);

// Reads one encoding that starts at `next` (after optional white space) inside a longer text
// ending at `end`, with the same rules but for the byte order mark and what follows the object,
// which is not looked at. On success `next` points just past the object's closing brace; on
// failure `next` is unchanged and `object` unspecified.
bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object);

// The same, and on failure `error` says what is wrong, its column counted from `next`.
bool readEncodedObjectAt(const char*& next, const char* end, EncodedObject& object,
                         ReadError& error);

// Reads one JSON string that starts at `next` (after optional white space, at its opening quote)
// as bytes, with the encoding's rules for texts. On success `next` points just past the closing
// quote; on failure `next` is unchanged and `error` says why, its column counted from `next`.
bool readEncodedString(const char*& next, const char* end, std::string& bytes, ReadError& error);

}  // namespace kobj
