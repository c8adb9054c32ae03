#pragma once

namespace vrex {

// What a property holds. Declared in the metamodel as "text" or "object" and recorded in each
// registry file's catalogue.
enum class PropertyKind {
    Text,    // an 8-bit string, stored as is (embedded NULs and non-UTF-8 bytes kept)
    Object,  // a script object, stored as the text the repository's ObjectCodec makes of it
};

}  // namespace vrex
