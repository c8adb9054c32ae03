#pragma once

#include <cstddef>

namespace bench {

// Decodes a JSON text to nothing: every string is unescaped and every number converted, into
// one reused buffer, and dropped; brackets are matched. The least any decoder does, and the
// baselines' "read and decode". True when the text is exactly one well-formed value.
bool scanJson(const char* text, std::size_t size);

}  // namespace bench
