#pragma once

#include <cstddef>
#include <string>

// How the whole-object encoding writes 8-bit strings as JSON strings, byte for byte.
//
// Each byte of a library string stands for the Unicode code point of the same value (U+0000 to
// U+00FF, as in Latin-1). Written out, printable ASCII stays as it is (with \" and \\ escaped),
// the control characters \b \f \n \r \t take their short escapes, and every other byte becomes
// \u00XX: the JSON text is pure ASCII, readable in the sqlite3 shell, and valid for SQLite's JSON
// functions. A reader that meets a code point above U+00FF was not given our encoding.
namespace kobj::json {

// Which bytes stand for themselves inside a JSON string of the encoding: the one table of the
// writer and the reader.
struct StringBytes {
    // Written as they are: printable ASCII but for the quote and the backslash.
    bool written[256] = {};
    // Read as they are, without a closer look: the written ones and DEL, which other writers may
    // leave unescaped.
    bool read[256] = {};
    StringBytes();
};
extern const StringBytes kStringBytes;

// Appends `bytes` to `out` as a JSON string literal, quotes included.
void appendString(std::string& out, const std::string& bytes);

// `bytes` as a JSON string literal for a message (every byte visible), cut after `limit` bytes
// with "..." before the closing quote: a message never repeats a long input whole.
std::string quotedExcerpt(const std::string& bytes, std::size_t limit = 80);

}  // namespace kobj::json
