#pragma once

#include <functional>

#include "kobj/COSPropInfo.hpp"

namespace kobj::factory::impl {

// The property record that publishing routines build: a getter and an optional setter, each
// bound to a member function of the library class (see TypedClassBuilder).
class PropertyImpl : public COSPropInfo {
public:
    using Getter = std::function<qaArray(tv::mi::Handle&)>;
    // Takes the value over: it may move texts out of it.
    using Setter = std::function<void(tv::mi::Handle&, qaArray&&)>;

    // Appends the value's encoding read straight through the getter (see appendEncoded).
    using Encoder = std::function<void(tv::mi::Handle&, std::string&)>;

    // The setter again, for values as decoding reads them (see setText); at most one is set, and
    // only for a setter that takes that type as it is. `integer` answers false for a value that
    // does not fit the setter's type.
    struct DirectSetters {
        std::function<void(tv::mi::Handle&, std::string&&)> text;
        std::function<void(tv::mi::Handle&, std::vector<std::string>&&)> texts;
        std::function<void(tv::mi::Handle&, bool)> logical;
        std::function<bool(tv::mi::Handle&, std::int64_t)> integer;
    };

    // An empty `setter` makes the property read-only; without an `encoder` the value is encoded
    // from what `getter` returns.
    PropertyImpl(std::string name, std::string typeText, std::uint32_t attributes, Getter getter,
                 Setter setter, Encoder encoder = Encoder(), DirectSetters direct = DirectSetters());

    bool isReadOnly() const override;
    qaArray get(tv::mi::Handle& object) const override;
    void set(tv::mi::Handle& object, const qaArray& value) const override;
    void set(tv::mi::Handle& object, qaArray&& value) const override;
    bool appendEncoded(tv::mi::Handle& object, std::string& out) const override;
    bool setText(tv::mi::Handle& object, std::string&& text) const override;
    bool setTexts(tv::mi::Handle& object, std::vector<std::string>&& texts) const override;
    bool setLogical(tv::mi::Handle& object, bool value) const override;
    bool setInteger(tv::mi::Handle& object, std::int64_t value) const override;

private:
    Getter getter_;
    Setter setter_;
    Encoder encoder_;
    DirectSetters direct_;
};

}  // namespace kobj::factory::impl
