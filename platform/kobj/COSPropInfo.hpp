#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "kobj/qaArray.hpp"

namespace tv::mi {
class Handle;
}

namespace kobj {

// A published property: its name, the type text of its value, its attribute word (meanings in
// PropertyAttributes.hpp), and how to read and write it on an object of its class.
class COSPropInfo {
public:
    COSPropInfo(std::string name, std::string typeText, std::uint32_t attributes);
    COSPropInfo(const COSPropInfo&) = delete;
    COSPropInfo& operator=(const COSPropInfo&) = delete;
    virtual ~COSPropInfo();

    const std::string& name() const { return name_; }
    // The name as a JSON string literal, quotes included (JsonEscaping.hpp), as encodings write it.
    const std::string& jsonName() const { return jsonName_; }
    const std::string& typeText() const { return typeText_; }
    std::uint32_t attributes() const { return attributes_; }

    // True when the property has no setter.
    virtual bool isReadOnly() const = 0;
    // The value read through the getter. Throws kobj::Error when `object` is not of the class.
    virtual qaArray get(tv::mi::Handle& object) const = 0;
    // Writes `value` through the setter. Throws kobj::Error "kobj:readOnlyProperty" for a
    // read-only property, and the conversion errors of `value`.
    virtual void set(tv::mi::Handle& object, const qaArray& value) const = 0;
    // The same, moving texts out of `value` into the object instead of copying them.
    virtual void set(tv::mi::Handle& object, qaArray&& value) const = 0;
    // Appends the value as the whole-object encoding writes it (EncodingWriter.hpp) straight from
    // the object, and answers true; answers false, appending nothing, when the property cannot
    // (the encoder then writes the value that get() returns). This one always answers false.
    virtual bool appendEncoded(tv::mi::Handle& object, std::string& out) const;
    // Write a decoded text, list of texts, logical or integer straight through the setter (texts
    // taken over) and answer true; answer false, leaving the value and the object as they were,
    // when the setter does not take that value as it is (the decoder then passes a script value
    // to set(), whose conversion refuses it or not as for any value). An integer is taken when it
    // fits the setter's integer type. These always answer false.
    virtual bool setText(tv::mi::Handle& object, std::string&& text) const;
    virtual bool setTexts(tv::mi::Handle& object, std::vector<std::string>&& texts) const;
    virtual bool setLogical(tv::mi::Handle& object, bool value) const;
    virtual bool setInteger(tv::mi::Handle& object, std::int64_t value) const;

private:
    std::string name_;
    std::string jsonName_;
    std::string typeText_;
    std::uint32_t attributes_;
};

}  // namespace kobj
