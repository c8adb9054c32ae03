#include "tv/Handle.hpp"

namespace tv::mi {

Handle::~Handle() = default;

qaArray Handle::toScriptValue() {
    return qaArray::objectRow(getFullyQualifiedKobjTypeName(), {qaArray::borrow(this)});
}

void Handle::preSetPropFcn(const char*) {}
void Handle::postSetPropFcn(const char*) {}
void Handle::saveHook() {}
void Handle::lock() {}
void Handle::unlock() {}

}  // namespace tv::mi
