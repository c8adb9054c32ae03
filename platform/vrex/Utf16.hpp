#pragma once

#include <string>

namespace vrex {

// Paths cross the repository's interface as UTF-16. These two conversions are lossless for every
// byte string: valid UTF-8 is decoded; each byte that is not part of valid UTF-8 becomes the lone
// surrogate U+DC00 + byte (U+DC80..U+DCFF) and turns back into that byte.
std::u16string toUtf16(const std::string& bytes);

// The inverse of toUtf16. Surrogate pairs become 4-byte UTF-8 and U+DC80..U+DCFF the raw byte; any
// other lone surrogate (which toUtf16 never makes) is written in the 3-byte form of its value.
std::string fromUtf16(const std::u16string& text);

}  // namespace vrex
