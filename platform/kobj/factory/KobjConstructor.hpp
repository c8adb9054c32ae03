#pragma once

#include <functional>
#include <vector>

#include "kobj/Signature.hpp"
#include "kobj/factory/Arguments.hpp"
#include "kobj/qaArray.hpp"

namespace tv::mi {
class Handle;
}

namespace kobj::factory::impl {

// A published constructor: its signature (the class as the one result, then the argument types)
// and the function that creates the library object.
class KobjConstructor {
public:
    // Returns a new object that the caller owns; throws kobj::Error for arguments that do not
    // convert.
    using Create = std::function<tv::mi::Handle*(const Arguments&)>;

    KobjConstructor(Signature signature, Create create);

    const Signature& signature() const { return signature_; }

    // Whether `arguments` match the signature in number and type.
    bool accepts(const std::vector<qaArray>& arguments) const;
    // A new object made from `arguments`; the caller owns it. Throws kobj::Error when an
    // argument does not convert.
    tv::mi::Handle* create(const std::vector<qaArray>& arguments) const;

private:
    Signature signature_;
    Create create_;
};

}  // namespace kobj::factory::impl
