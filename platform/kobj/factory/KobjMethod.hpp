#pragma once

#include <functional>
#include <string>
#include <vector>

#include "kobj/Signature.hpp"
#include "kobj/factory/Arguments.hpp"
#include "kobj/qaArray.hpp"

namespace tv::mi {
class Handle;
}

namespace kobj::factory {

// How a method is offered. hidden: callable, but front ends leave it out of listings and help.
struct MethodAttributes {
    bool hidden = false;
};

// A published method: name, signature (results, then the object itself and the arguments) and
// the invoker that calls the member function.
class KobjMethod {
public:
    // Calls the method on `self`; returns its result ([] for none).
    using Invoke = std::function<qaArray(tv::mi::Handle& self, const Arguments&)>;

    KobjMethod(std::string name, Signature signature, MethodAttributes attributes, Invoke invoke);

    const std::string& name() const { return name_; }
    const Signature& signature() const { return signature_; }
    const MethodAttributes& attributes() const { return attributes_; }

    // Calls the method on `self` with `arguments` (the object itself not included). Throws
    // kobj::Error "kobj:wrongNumberOfArguments" when the count differs from the signature, and the
    // conversion errors of the arguments; exceptions of the library pass through.
    qaArray invoke(tv::mi::Handle& self, const std::vector<qaArray>& arguments) const;

private:
    std::string name_;
    Signature signature_;
    MethodAttributes attributes_;
    Invoke invoke_;
};

}  // namespace kobj::factory
