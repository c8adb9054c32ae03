#include "kobj/factory/PropertyImpl.hpp"

#include <utility>

#include "kobj/Error.hpp"

namespace kobj::factory::impl {

PropertyImpl::PropertyImpl(std::string name, std::string typeText, std::uint32_t attributes,
                           Getter getter, Setter setter, Encoder encoder, DirectSetters direct)
    : COSPropInfo(std::move(name), std::move(typeText), attributes),
      getter_(std::move(getter)),
      setter_(std::move(setter)),
      encoder_(std::move(encoder)),
      direct_(std::move(direct)) {}

bool PropertyImpl::isReadOnly() const { return !setter_; }

qaArray PropertyImpl::get(tv::mi::Handle& object) const { return getter_(object); }

void PropertyImpl::set(tv::mi::Handle& object, const qaArray& value) const {
    set(object, qaArray(value));
}

bool PropertyImpl::appendEncoded(tv::mi::Handle& object, std::string& out) const {
    if (!encoder_) return false;
    encoder_(object, out);
    return true;
}

bool PropertyImpl::setText(tv::mi::Handle& object, std::string&& text) const {
    if (!direct_.text) return false;
    direct_.text(object, std::move(text));
    return true;
}

bool PropertyImpl::setTexts(tv::mi::Handle& object, std::vector<std::string>&& texts) const {
    if (!direct_.texts) return false;
    direct_.texts(object, std::move(texts));
    return true;
}

bool PropertyImpl::setLogical(tv::mi::Handle& object, bool value) const {
    if (!direct_.logical) return false;
    direct_.logical(object, value);
    return true;
}

bool PropertyImpl::setInteger(tv::mi::Handle& object, std::int64_t value) const {
    return direct_.integer && direct_.integer(object, value);
}

void PropertyImpl::set(tv::mi::Handle& object, qaArray&& value) const {
    if (!setter_) {
        throw Error("kobj:readOnlyProperty", "Property " + name() + " is read-only.");
    }
    setter_(object, std::move(value));
}

}  // namespace kobj::factory::impl
