#include "vrex/internal/session/PendingObject.hpp"

#include "vrex/internal/session/Driver.hpp"

namespace vrex::internal {

void PendingObject::start(const ClassInfo& cls, std::int64_t id) {
    cls_ = &cls;
    id_ = id;
    texts_.assign(cls.properties.size(), std::nullopt);
}

void PendingObject::set(const PropertyInfo& property, std::optional<std::string> text) {
    texts_[property.position] = std::move(text);
}

bool PendingObject::write(Driver& driver) {
    const ClassInfo& cls = *cls_;
    cls_ = nullptr;
    return driver.insertWholeObject(cls, id_, texts_);
}

void PendingObject::discard() { cls_ = nullptr; }

}  // namespace vrex::internal
