#include "kobj/ObjectAccess.hpp"

#include <utility>

#include "kobj/ClassRegistry.hpp"
#include "kobj/Error.hpp"
#include "kobj/ObjectValues.hpp"

namespace kobj {

namespace {

std::string describeArguments(const std::vector<qaArray>& arguments) {
    std::string text;
    for (const qaArray& argument : arguments) {
        if (!text.empty()) text += ", ";
        text += describeValue(argument);
    }
    return "(" + text + ")";
}

Error noMatchingConstructor(const ClassRecord& record, const std::vector<qaArray>& arguments) {
    std::string signatures;
    for (const auto& constructor : record.constructors()) {
        signatures += "\n  " + constructor->signature().toString(record.name());
    }
    return Error("kobj:noMatchingConstructor", "No constructor of " + record.name() + " accepts " +
                                                   describeArguments(arguments) +
                                                   ". Its constructors are:" + signatures);
}

const COSPropInfo& propertyOf(const ClassRecord& record, const std::string& name) {
    const COSPropInfo* property = record.findProperty(name);
    if (property == nullptr) {
        throw Error("kobj:unknownProperty",
                    "Class " + record.name() + " has no property " + name + ".");
    }
    return *property;
}

// Brackets one use of an object from a script with its lock and unlock hooks.
class ObjectUse {
public:
    explicit ObjectUse(tv::mi::Handle& object) : object_(object) { object_.lock(); }
    ObjectUse(const ObjectUse&) = delete;
    ObjectUse& operator=(const ObjectUse&) = delete;
    ~ObjectUse() { object_.unlock(); }

private:
    tv::mi::Handle& object_;
};

}  // namespace

qaArray construct(const std::string& className, const std::vector<qaArray>& arguments) {
    const ClassRecord& record = ClassRegistry::instance().getClass(className);
    if (record.isAbstract()) {
        throw Error("kobj:abstractClass",
                    "Class " + className + " has no published constructor; it cannot be created.");
    }
    for (const auto& constructor : record.constructors()) {
        if (constructor->accepts(arguments)) {
            return ownedObject(constructor->create(arguments), className);
        }
    }
    throw noMatchingConstructor(record, arguments);
}

qaArray getProperty(const qaArray& object, const std::string& name) {
    tv::mi::Handle& self = objectOf(object);
    const COSPropInfo& property = propertyOf(classOf(object), name);
    ObjectUse use(self);
    return property.get(self);
}

void setProperty(const qaArray& object, const std::string& name, const qaArray& value) {
    setProperty(objectOf(object), propertyOf(classOf(object), name), value);
}

void setProperty(tv::mi::Handle& object, const COSPropInfo& property, const qaArray& value) {
    setProperty(object, property, qaArray(value));
}

void setProperty(tv::mi::Handle& object, const COSPropInfo& property, qaArray&& value) {
    if (property.isReadOnly()) {
        throw Error("kobj:readOnlyProperty", "Property " + property.name() + " is read-only.");
    }
    ObjectUse use(object);
    object.preSetPropFcn(property.name().c_str());
    property.set(object, std::move(value));
    object.postSetPropFcn(property.name().c_str());
}

qaArray callMethod(const qaArray& object, const std::string& name,
                   const std::vector<qaArray>& arguments) {
    tv::mi::Handle& self = objectOf(object);
    const ClassRecord& record = classOf(object);
    const factory::KobjMethod* method = record.findMethod(name);
    if (method == nullptr) {
        throw Error("kobj:unknownMethod",
                    "Class " + record.name() + " has no method " + name + ".");
    }
    ObjectUse use(self);
    return method->invoke(self, arguments);
}

tv::mi::Handle& objectOf(const qaArray& value) {
    if (value.kind() != qaArray::Kind::Object || value.numel() != 1 || value.object(0) == nullptr) {
        throw errorNotAnObject(value);
    }
    return *value.object(0);
}

const ClassRecord& classOf(const qaArray& value) {
    const ClassRecord* record = ClassRegistry::instance().classOf(objectOf(value));
    if (record == nullptr) throw errorNotAnObject(value);
    return *record;
}

}  // namespace kobj
