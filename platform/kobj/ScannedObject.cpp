#include "kobj/ScannedObject.hpp"

namespace kobj {

void ScannedObject::addBeyondInline(const ScannedMember& member) {
    if (more_.empty()) more_.assign(inline_.begin(), inline_.end());
    more_.push_back(member);
    ++size_;
}

void ScannedObject::clear() {
    className = ScannedString{};
    more_.clear();
    size_ = 0;
}

}  // namespace kobj
