#pragma once

#include <string>

namespace vrex::internal {

// Metamodel names as SQL identifiers, for every engine. Class and property names are identifiers
// (the metamodel reader checks them) and are always quoted.

// SQL compares names ignoring ASCII case; so do the metamodel reader and the schema check.
inline std::string asciiLowercase(std::string text) {
    for (char& c : text) {
        if (c >= 'A' && c <= 'Z') c = static_cast<char>(c - 'A' + 'a');
    }
    return text;
}

inline std::string quotedName(const std::string& name) {
    std::string text = "\"";
    for (char c : name) {
        if (c == '"') text += '"';
        text += c;
    }
    return text + "\"";
}

}  // namespace vrex::internal
