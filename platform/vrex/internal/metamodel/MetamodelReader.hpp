#pragma once

#include <memory>
#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// Reads a metamodel XML file: checks it against the metamodel schema (shared_metamodel.xsd, built
// into the platform), then the rules a schema cannot state: class names unique in the whole
// metamodel and property names unique in their class, ignoring ASCII case (SQL does); no name
// beginning with "sqlite_" (reserved by SQLite); only text properties indexed.
class MetamodelReader {
public:
    // The metamodel in `file`, or null when it cannot be used, with diagnostics
    // "vrex:metamodel:unreadable", "vrex:metamodel:malformed" (not well-formed XML) or
    // "vrex:metamodel:invalid" (breaks the rules); each message starts with "<file>:<line>: ".
    static std::shared_ptr<const Metamodel> read(const std::string& file,
                                                 tvdiag::util::diagnostics& diagnostics);
};

// The text of the metamodel schema (generated at build time from shared_metamodel.xsd).
const char* metamodelSchemaText();

}  // namespace vrex::internal
