#pragma once

#include <string>

#include "kobj/EncodingReader.hpp"

namespace scm_tool {

// Reads the two halves of a manifest line in one pass with the class system's reader of the
// whole-object encoding: {"identity": {...}, "data": {...}}, the halves in either order, each
// once, white space wherever JSON allows it, an optional UTF-8 byte order mark first, anything
// after a NUL byte that follows the entry ignored. Nothing nests deeper than a list of texts, so
// the reading never recurses. Returns false for any other line, with `problem` saying what is
// wrong and, for a fault in the text, at which column ("\"data\" at column 57: property
// \"Name\": ..."); a problem quotes at most a short excerpt of the line.
bool readManifestHalves(const std::string& line, kobj::EncodedObject& identity,
                        kobj::EncodedObject& data, std::string& problem);

}  // namespace scm_tool
