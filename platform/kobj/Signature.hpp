#pragma once

#include <string>
#include <vector>

namespace kobj {

// The signature vocabulary: the type texts of signatures and property records.
//   "char"            a text argument (character row)
//   "char vector"     a text value (character row)
//   "logical scalar"  true or false
//   "uint32 scalar"   an unsigned 32-bit integer
//   "int32 scalar"    a signed 32-bit integer
//   "cell"            a cell column of texts (n x 1)
//   "<class>"         one object of the published class <class> or of a subclass, e.g.
//                     "SharedCodeManager.Identity"
//   "<class> vector"  a 1 x n object array of such objects
namespace types {
inline constexpr const char* kChar = "char";
inline constexpr const char* kCharVector = "char vector";
inline constexpr const char* kLogicalScalar = "logical scalar";
inline constexpr const char* kUInt32Scalar = "uint32 scalar";
inline constexpr const char* kInt32Scalar = "int32 scalar";
inline constexpr const char* kCell = "cell";
}  // namespace types

// What a type text stands for.
enum class TypeCategory { Text, Logical, UInt32, Int32, Cell, Object, ObjectVector };

// The category of `typeText`; any text outside the fixed vocabulary names a published class
// (Object), or an array of one when it ends in " vector" (ObjectVector).
TypeCategory categoryOf(const std::string& typeText);

// The class of an Object or ObjectVector type text ("X vector" and "X" both give "X").
std::string objectClassOf(const std::string& typeText);

// The types a constructor or method returns and takes, in order. A method's arguments start with
// the object itself (its class's name).
struct Signature {
    std::vector<std::string> results;
    std::vector<std::string> arguments;

    // "result = name(argument, ...)"; several results are bracketed, none leaves out " = ".
    std::string toString(const std::string& name) const;

    bool operator==(const Signature& other) const {
        return results == other.results && arguments == other.arguments;
    }
    bool operator!=(const Signature& other) const { return !(*this == other); }
};

}  // namespace kobj
