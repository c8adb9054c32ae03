#include "kobj/ObjectValues.hpp"

#include "kobj/ClassRegistry.hpp"

namespace kobj {

namespace {

// The nearest class that both `left` and `right` belong to.
const ClassRecord* commonClass(const ClassRecord* left, const ClassRecord& right) {
    while (left != nullptr && !right.isA(*left)) left = left->superclass();
    return left;
}

}  // namespace

qaArray ownedObject(tv::mi::Handle* object, const std::string& declaredClass) {
    if (object == nullptr) return qaArray::emptyObject(declaredClass);
    qaArray::ObjectPtr owned = qaArray::adopt(object);
    return qaArray::objectRow(object->getFullyQualifiedKobjTypeName(), {std::move(owned)});
}

qaArray ownedObjectRow(const std::vector<tv::mi::Handle*>& objects,
                       const std::string& declaredClass) {
    std::vector<qaArray::ObjectPtr> elements;
    elements.reserve(objects.size());
    for (tv::mi::Handle* object : objects) elements.push_back(qaArray::adopt(object));
    qaArray row = qaArray::objectRow(declaredClass, std::move(elements));
    settleClass(row);
    return row;
}

void settleClass(qaArray& row) {
    ClassRegistry& registry = ClassRegistry::instance();
    const ClassRecord* common = nullptr;
    for (const qaArray::ObjectPtr& element : row.objects()) {
        const ClassRecord* elementClass = element ? registry.classOf(*element) : nullptr;
        if (elementClass == nullptr) return;
        common = common == nullptr ? elementClass : commonClass(common, *elementClass);
    }
    if (common != nullptr && common != &registry.root()) row.setClassName(common->name());
}

}  // namespace kobj
