#include "kobj/factory/KobjMethod.hpp"

#include "kobj/Error.hpp"

namespace kobj::factory {

KobjMethod::KobjMethod(std::string name, Signature signature, MethodAttributes attributes,
                       Invoke invoke)
    : name_(std::move(name)),
      signature_(std::move(signature)),
      attributes_(attributes),
      invoke_(std::move(invoke)) {}

qaArray KobjMethod::invoke(tv::mi::Handle& self, const std::vector<qaArray>& arguments) const {
    // The signature's first argument is the object itself.
    const std::size_t expected = signature_.arguments.empty() ? 0 : signature_.arguments.size() - 1;
    if (arguments.size() != expected) {
        throw Error("kobj:wrongNumberOfArguments",
                    "Method " + name_ + " takes " + std::to_string(expected) +
                        " argument(s) after the object, not " + std::to_string(arguments.size()) +
                        ": " + signature_.toString(name_) + ".");
    }
    return invoke_(self, Arguments(arguments, signature_.arguments, 1));
}

}  // namespace kobj::factory
