#include "RecordProperties.hpp"

#include "ValueText.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/PropertyAttributes.hpp"

namespace scm_tool {

std::string publishedClassName(tv::mi::Handle& object) {
    return kobj::classOf(object.toScriptValue()).name();
}

std::vector<PropertyValue> propertiesOf(tv::mi::Handle& object) {
    std::vector<PropertyValue> properties;
    const kobj::ClassRecord& record = kobj::classOf(object.toScriptValue());
    for (const kobj::COSPropInfo* property : record.allProperties()) {
        properties.push_back({property->name(), property->get(object),
                              kobj::attributes::isHidden(property->attributes())});
    }
    return properties;
}

std::vector<Difference> differences(tv::mi::Handle& stored, tv::mi::Handle& offered) {
    std::vector<Difference> found;
    const kobj::ClassRecord& storedClass = kobj::classOf(stored.toScriptValue());
    const kobj::ClassRecord& offeredClass = kobj::classOf(offered.toScriptValue());
    if (&storedClass != &offeredClass) {
        found.push_back({"class", qaArray::fromText(storedClass.name()),
                         qaArray::fromText(offeredClass.name())});
    }
    for (const kobj::COSPropInfo* property : storedClass.allProperties()) {
        const kobj::COSPropInfo* counterpart = offeredClass.findProperty(property->name());
        if (counterpart == nullptr) continue;
        qaArray storedValue = property->get(stored);
        qaArray offeredValue = counterpart->get(offered);
        if (displayText(storedValue) != displayText(offeredValue)) {
            found.push_back({property->name(), std::move(storedValue), std::move(offeredValue)});
        }
    }
    return found;
}

}  // namespace scm_tool
