#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <vector>

// The values of the whole-object encoding (ObjectEncoding.hpp) written straight from library
// values, without a script value in between: texts as JSON strings (JsonEscaping.hpp), lists of
// texts as arrays of strings, logicals as true/false, integers as numbers.
namespace kobj {

void appendEncodedValue(std::string& out, const std::string& text);
void appendEncodedValue(std::string& out, const std::vector<std::string>& texts);
void appendEncodedValue(std::string& out, bool flag);
void appendEncodedValue(std::string& out, std::int32_t number);
void appendEncodedValue(std::string& out, std::uint32_t number);

// Whether appendEncodedValue writes values of the library type T.
template <class T>
inline constexpr bool kIsEncodedValueType =
    std::is_same_v<T, std::string> || std::is_same_v<T, std::vector<std::string>> ||
    std::is_same_v<T, bool> || std::is_same_v<T, std::int32_t> || std::is_same_v<T, std::uint32_t>;

}  // namespace kobj
