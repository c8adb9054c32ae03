#include "kobj/factory/KobjConstructor.hpp"

#include "kobj/Conversions.hpp"

namespace kobj::factory::impl {

KobjConstructor::KobjConstructor(Signature signature, Create create)
    : signature_(std::move(signature)), create_(std::move(create)) {}

bool KobjConstructor::accepts(const std::vector<qaArray>& arguments) const {
    if (arguments.size() != signature_.arguments.size()) return false;
    for (std::size_t i = 0; i < arguments.size(); ++i) {
        if (!fitsType(arguments[i], signature_.arguments[i])) return false;
    }
    return true;
}

tv::mi::Handle* KobjConstructor::create(const std::vector<qaArray>& arguments) const {
    return create_(Arguments(arguments, signature_.arguments, 0));
}

}  // namespace kobj::factory::impl
