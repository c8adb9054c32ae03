#pragma once

#include <cstdint>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

#include "kobj/Error.hpp"
#include "kobj/Signature.hpp"
#include "kobj/qaArray.hpp"
#include "kobj/Handle.hpp"

// Conversions between library values and script values. Every getter, setter, method and
// constructor of a published class converts through Converter<T>, so one library type is always
// converted the same way. A type without a Converter cannot be bound (compile error); libraries add
// their own types by specialising Converter in namespace kobj. A Converter that also has
// `fromText(const std::string&)`, answering as fromScript does for a text value, lets decoding
// hand stored texts to the setter without making a script value (see TypedClassBuilder).
namespace kobj {

// A text value's bytes. Throws errorMustBeString for anything but a character row.
std::string textFrom(const qaArray& value);
// The same, moving the bytes out of `value` (left with an unspecified text).
std::string textFrom(qaArray&& value);
// The texts of a cell column, in order. A missing value ([]) gives an empty list. Throws
// errorMustBeCellArray when `value` is not a cell array, errorMustBeString with the zero-based
// index of the first element that is not a text.
std::vector<std::string> textListFrom(const qaArray& value);
// The same, moving the texts out of `value` (left with unspecified cells).
std::vector<std::string> textListFrom(qaArray&& value);
// Throws errorMustBeLogicalScalar unless `value` is a logical scalar.
bool logicalFrom(const qaArray& value);
// An int32 scalar, or a uint32 scalar that fits; otherwise throws errorMustBeInt32Scalar.
std::int32_t int32From(const qaArray& value);
// A uint32 scalar, or a non-negative int32 scalar; otherwise throws errorMustBeUInt32Scalar.
std::uint32_t uint32From(const qaArray& value);
// An n x 1 cell of texts, in order (0 x 1 for an empty list).
qaArray textListValue(const std::vector<std::string>& texts);
// The same, moving the texts in.
qaArray textListValue(std::vector<std::string>&& texts);

// The object of a 1 x 1 object value of the published class `className` or of a subclass,
// borrowed (valid while the value's owner lives). Null for a missing value ([] or an empty
// object value). Throws errorMustBeObject for any other value.
tv::mi::Handle* objectFrom(const qaArray& value, const std::string& className);
// The objects of an object array whose elements are all of `className` or of subclasses,
// borrowed. A missing value gives an empty list. Throws errorMustBeObject (with the element's
// index when one element is wrong).
std::vector<tv::mi::Handle*> objectsFrom(const qaArray& value, const std::string& className);

// Whether `value` converts to the type text `typeText` without error (used to choose among
// constructors).
bool fitsType(const qaArray& value, const std::string& typeText);
// The plainest value of a type: "" for texts, false, 0, an empty cell, [] for objects.
qaArray neutralValue(const std::string& typeText);

template <class T, class Enable = void>
struct Converter;  // deliberately undefined: see above

// Texts and lists of texts move between the two sides when the source is an rvalue (a value
// decoded for a setter, a getter's result returned by value), and are copied otherwise.
template <>
struct Converter<std::string> {
    static std::string fromScript(const qaArray& value, const std::string&) {
        return textFrom(value);
    }
    static std::string fromScript(qaArray&& value, const std::string&) {
        return textFrom(std::move(value));
    }
    static qaArray toScript(const std::string& text) { return qaArray::fromText(text); }
    static qaArray toScript(std::string&& text) { return qaArray::fromText(std::move(text)); }
};

template <>
struct Converter<std::vector<std::string>> {
    static std::vector<std::string> fromScript(const qaArray& value, const std::string&) {
        return textListFrom(value);
    }
    static std::vector<std::string> fromScript(qaArray&& value, const std::string&) {
        return textListFrom(std::move(value));
    }
    static qaArray toScript(const std::vector<std::string>& texts) { return textListValue(texts); }
    static qaArray toScript(std::vector<std::string>&& texts) {
        return textListValue(std::move(texts));
    }
};

template <>
struct Converter<bool> {
    static bool fromScript(const qaArray& value, const std::string&) { return logicalFrom(value); }
    static qaArray toScript(bool flag) { return qaArray::fromLogical(flag); }
};

template <>
struct Converter<std::int32_t> {
    static std::int32_t fromScript(const qaArray& value, const std::string&) {
        return int32From(value);
    }
    static qaArray toScript(std::int32_t number) { return qaArray::fromInt32(number); }
};

template <>
struct Converter<std::uint32_t> {
    static std::uint32_t fromScript(const qaArray& value, const std::string&) {
        return uint32From(value);
    }
    static qaArray toScript(std::uint32_t number) { return qaArray::fromUInt32(number); }
};

// Objects come in borrowed, checked against the class the signature names, and down-cast. They
// have no toScript: whether a returned object is handed over or only lent must be said at each
// binding (see ObjectValues.hpp).
template <class T>
struct Converter<T*, std::enable_if_t<std::is_base_of_v<tv::mi::Handle, T>>> {
    static T* fromScript(const qaArray& value, const std::string& typeText) {
        tv::mi::Handle* object = objectFrom(value, objectClassOf(typeText));
        if (object == nullptr) return nullptr;
        T* typed = dynamic_cast<T*>(object);
        if (typed == nullptr)
            throw errorMustBeObject(typeText, object->getFullyQualifiedKobjTypeName());
        return typed;
    }
};

template <class T>
struct Converter<std::vector<T*>, std::enable_if_t<std::is_base_of_v<tv::mi::Handle, T>>> {
    static std::vector<T*> fromScript(const qaArray& value, const std::string& typeText) {
        const std::string className = objectClassOf(typeText);
        std::vector<T*> typed;
        for (tv::mi::Handle* object : objectsFrom(value, className)) {
            T* element = dynamic_cast<T*>(object);
            if (element == nullptr) {
                throw errorMustBeObject(className, object->getFullyQualifiedKobjTypeName(),
                                        typed.size());
            }
            typed.push_back(element);
        }
        return typed;
    }
};

}  // namespace kobj
