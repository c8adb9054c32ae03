#include "kobj/factory/ClassBuilder.hpp"

#include <algorithm>
#include <stdexcept>

#include "kobj/ClassRecord.hpp"

namespace kobj::factory {

namespace {

template <class Members>
bool hasMember(const Members& members, const std::string& name) {
    return std::any_of(members.begin(), members.end(),
                       [&](const auto& member) { return member->name() == name; });
}

}  // namespace

ClassBuilder::ClassBuilder(ClassRecord& record) : record_(record) {}

const std::string& ClassBuilder::className() const { return record_.name_; }

void ClassBuilder::addSuperclass(std::string className) {
    if (!record_.superclassName_.empty()) {
        throw std::logic_error(record_.name_ + " already has the superclass " +
                               record_.superclassName_);
    }
    record_.superclassName_ = std::move(className);
}

void ClassBuilder::addConstructor(std::unique_ptr<impl::KobjConstructor> constructor) {
    record_.constructors_.push_back(std::move(constructor));
}

void ClassBuilder::addMethod(std::unique_ptr<KobjMethod> method) {
    if (hasMember(record_.methods_, method->name())) {
        throw std::logic_error(record_.name_ + " publishes the method " + method->name() +
                               " twice");
    }
    record_.methods_.push_back(std::move(method));
}

void ClassBuilder::addProperty(std::unique_ptr<COSPropInfo> property) {
    if (hasMember(record_.properties_, property->name())) {
        throw std::logic_error(record_.name_ + " publishes the property " + property->name() +
                               " twice");
    }
    record_.properties_.push_back(std::move(property));
}

void ClassBuilder::addNativeType(std::type_index type) { record_.nativeTypes_.push_back(type); }

}  // namespace kobj::factory
