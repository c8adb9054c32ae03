#pragma once

#include <memory>
#include <string>
#include <string_view>

#include "kobj/EncodingReader.hpp"
#include "kobj/Handle.hpp"
#include "kobj/qaArray.hpp"

// The whole-object encoding: how an identity or a data record is stored in the dictionary, as
// JSON text.
//
//   {"class":"SharedCodeManager.BasicUtilityIdentity","Checksum":"dGfL8aBULDXcmtIhYfhCcE",
//    "Type":"SCM_UTILITIES","UtilityIdentifier":"rt_foo","SymbolString":"",
//    "MaximumIdentifierLength":0,"IncludeMaxIdLength":true}
//
// "class" is the object's published class; then comes every published property of that class
// and its superclasses that has a setter, root class first, in publication order: texts as JSON
// strings (byte for byte, see JsonEscaping.hpp), cells as arrays of strings, logicals as true/false,
// integers as numbers. Read-only properties are left out: they cannot be restored.
//
// Decoding rebuilds the object through its class's published constructor with the fewest
// arguments (fed neutral values: "", false, 0), then writes each property through its setter in
// the order of the text, the Dependent ones (PropertyAttributes.hpp) last, so that a stored
// checksum wins over the one the key fields would give.
namespace kobj {

// Only objects whose class can be rebuilt are encodable: the class has a published constructor
// and at least one property with a setter (a class without one, such as a registry facade, has no
// state to restore).

// JSON text of a 1 x 1 object value of a published class: the class name and every published
// property of the class and its superclasses, read through the getters. Throws kobj::Error when
// the value is not such an object ("kobj:notAnObject") or its class is not encodable
// ("kobj:notEncodable").
std::string encodeObject(const qaArray& value);

// The object `text` encodes, rebuilt through the class's published constructor and property
// setters, owned by the returned value (adopted). Returns the empty value [] when `text` is not
// a valid encoding of a known class (garbage, truncated, unknown class, unknown or read-only
// property, wrong property types, class not encodable): never throws for bad input.
qaArray decodeObject(const std::string& text);

// The same, but also [] when the encoded class is not `requiredClass` or one of its subclasses;
// that is checked before any object is created.
qaArray decodeObject(const std::string& text, const std::string& requiredClass);

// The same, and when the result is [] `problem` says why, in a sentence for people ("Class
// SharedCodeManager.GenericData has no property Colour."); on success `problem` is cleared.
qaArray decodeObject(const std::string& text, const std::string& requiredClass,
                     std::string& problem);

// The same, but the object is handed over bare (owned by the caller): null where the others give
// [], and no script value is made. For readers that take the object out of its value at once.
std::unique_ptr<tv::mi::Handle> decodeOwnedObject(const std::string& text, std::string_view requiredClass,
                                                 std::string& problem);

// The same for an encoding already read (see EncodingReader.hpp), whose property values the
// object takes over: `encoded` is left with unspecified values.
qaArray decodeObject(EncodedObject&& encoded, const std::string& requiredClass,
                     std::string& problem);

}  // namespace kobj
