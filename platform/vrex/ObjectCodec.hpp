#pragma once

#include <memory>
#include <string>

#include "kobj/Handle.hpp"
#include "kobj/qaArray.hpp"

namespace vrex {

// Turns the script objects of "object" properties into the text stored for them, and back.
// The repository never interprets that text.
class ObjectCodec {
public:
    virtual ~ObjectCodec();

    // The stored text of `value`, a 1 x 1 object value. Throws std::exception when the object
    // cannot be encoded; the repository reports that as a diagnostic.
    virtual std::string encode(const qaArray& value) const = 0;

    // A 1 x 1 object value that owns a new object rebuilt from `text` (see qaArray::adopt), or []
    // (an empty value) when `text` is not a valid encoding of a known class.
    virtual qaArray decode(const std::string& text) const = 0;

    // The object rebuilt from `text`, owned by the caller, when it is of the published class
    // `className` or a subclass; null otherwise. This one takes the object decode() makes out of
    // its value; a codec may make it without the value.
    virtual std::unique_ptr<tv::mi::Handle> decodeObject(const std::string& text, const char* className) const;
};

// The codec that DataModelRepository::defaultOptions() installs: the class system's whole-object
// encoding, or null where the platform is built without one (then object properties cannot be
// written or read, and the repository says so with a diagnostic).
std::shared_ptr<const ObjectCodec> defaultObjectCodec();

}  // namespace vrex
