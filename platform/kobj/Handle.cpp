#include "kobj/Handle.hpp"

#include "kobj/ClassRegistry.hpp"

namespace tv::mi {

Handle::~Handle() = default;

qaArray Handle::toScriptValue() {
    return qaArray::objectRow(getFullyQualifiedKobjTypeName(), {qaArray::borrow(this)});
}

namespace {

// The element of a 1 x 1 object value that belongs to `className`, or null.
const qaArray::ObjectPtr* elementOfClass(const qaArray& value, const char* className) {
    if (value.kind() != qaArray::Kind::Object || value.numel() != 1) return nullptr;
    const qaArray::ObjectPtr& element = value.objects().front();
    if (element == nullptr || className == nullptr) return nullptr;
    if (!kobj::ClassRegistry::instance().isInstanceOf(*element, className)) return nullptr;
    return &element;
}

}  // namespace

Handle* Handle::fromScriptValue(const qaArray& value, const char* publishedClassName) {
    const qaArray::ObjectPtr* element = elementOfClass(value, publishedClassName);
    return element == nullptr ? nullptr : element->get();
}

Handle* Handle::releaseFromScriptValue(const qaArray& value, const char* publishedClassName) {
    const qaArray::ObjectPtr* element = elementOfClass(value, publishedClassName);
    return element == nullptr ? nullptr : qaArray::release(*element);
}

void Handle::preSetPropFcn(const char*) {}
void Handle::postSetPropFcn(const char*) {}
void Handle::saveHook() {}
void Handle::lock() {}
void Handle::unlock() {}

}  // namespace tv::mi
