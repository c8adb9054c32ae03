#include "kobj/ClassRecord.hpp"

#include <algorithm>

namespace kobj {

ClassRecord::ClassRecord(std::string name, std::string description)
    : name_(std::move(name)), description_(std::move(description)) {}

ClassRecord::~ClassRecord() = default;

const COSPropInfo* ClassRecord::findProperty(const std::string& name) const {
    auto found = propertyIndex_.find(name);
    return found == propertyIndex_.end() ? nullptr : found->second;
}

const factory::KobjMethod* ClassRecord::findMethod(const std::string& name) const {
    auto found = methodIndex_.find(name);
    return found == methodIndex_.end() ? nullptr : found->second;
}

bool ClassRecord::isA(const ClassRecord& other) const {
    for (const ClassRecord* record = this; record != nullptr; record = record->superclass_) {
        if (record == &other) return true;
    }
    return false;
}

bool ClassRecord::isA(std::string_view className) const {
    for (const ClassRecord* record = this; record != nullptr; record = record->superclass_) {
        if (record->name_ == className) return true;
    }
    return false;
}

const factory::impl::KobjConstructor* ClassRecord::restoringConstructor() const {
    auto fewestArguments = std::min_element(
        constructors_.begin(), constructors_.end(), [](const auto& left, const auto& right) {
            return left->signature().arguments.size() < right->signature().arguments.size();
        });
    return fewestArguments == constructors_.end() ? nullptr : fewestArguments->get();
}

void ClassRecord::link(const ClassRecord* superclass) {
    superclass_ = superclass;
    if (superclass != nullptr) {
        allProperties_ = superclass->allProperties_;
        propertyIndex_ = superclass->propertyIndex_;
        methodIndex_ = superclass->methodIndex_;
    }
    for (const auto& property : properties_) {
        auto inherited =
            std::find_if(allProperties_.begin(), allProperties_.end(),
                         [&](const COSPropInfo* p) { return p->name() == property->name(); });
        if (inherited != allProperties_.end()) {
            *inherited = property.get();  // a redefinition keeps the inherited position
        } else {
            allProperties_.push_back(property.get());
        }
        propertyIndex_[property->name()] = property.get();
    }
    for (const auto& method : methods_) methodIndex_[method->name()] = method.get();
}

}  // namespace kobj
