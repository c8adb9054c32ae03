#pragma once

#include <string>

#include "kobj/EncodedObject.hpp"

namespace scm_tool {

// Reads the two halves of a manifest line in one pass with the class system's reader of the
// whole-object encoding: {"identity": {...}, "data": {...}}, the halves in either order, each
// once, white space wherever JSON allows it, the member names written plainly. Returns false,
// without saying why, for every other line (and for halves the reader refuses): the caller then
// reads the line as general JSON, which says what is wrong and where.
bool readManifestHalves(const std::string& line, kobj::EncodedObject& identity,
                        kobj::EncodedObject& data);

}  // namespace scm_tool
