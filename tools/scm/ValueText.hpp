#pragma once

#include <string>

#include <nlohmann/json.hpp>

#include "kobj/qaArray.hpp"

// How the tool writes the library's values: for people, and as JSON for scripts.
namespace scm_tool {

// `bytes` as a JSON string literal in the whole-object encoding's convention (printable ASCII as
// it is, every other byte as \u00XX), so that every byte is visible, nothing reaches the terminal
// raw, and the text can be copied into a manifest: "rt_add", "a\u0000b".
std::string quotedText(const std::string& bytes);

// `bytes` as they are when they are printable ASCII without blanks or quotes, else quotedText:
// how tables show names and keys.
std::string cellText(const std::string& bytes);

// A property value for people: texts quoted (quotedText), lists of texts as
// ["a", "b"], logicals as true/false, integers as they are, [] for an empty value.
std::string displayText(const qaArray& value);

// `bytes` as a JSON string whose code points are the bytes (U+0000 to U+00FF), the convention of
// the whole-object encoding; valid UTF-8 whatever the bytes are.
nlohmann::ordered_json jsonText(const std::string& bytes);

// A property value as JSON: a string, an array of strings, true/false, a number, or null.
nlohmann::ordered_json jsonValue(const qaArray& value);

}  // namespace scm_tool
