#include "kobj/factory/PropertyImpl.hpp"

#include <utility>

#include "kobj/Error.hpp"

namespace kobj::factory::impl {

PropertyImpl::PropertyImpl(std::string name, std::string typeText, std::uint32_t attributes,
                           Getter getter, Setter setter, Encoder encoder)
    : COSPropInfo(std::move(name), std::move(typeText), attributes),
      getter_(std::move(getter)),
      setter_(std::move(setter)),
      encoder_(std::move(encoder)) {}

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

void PropertyImpl::set(tv::mi::Handle& object, qaArray&& value) const {
    if (!setter_) {
        throw Error("kobj:readOnlyProperty", "Property " + name() + " is read-only.");
    }
    setter_(object, std::move(value));
}

}  // namespace kobj::factory::impl
