#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

namespace {

template <typename Part>
const Part* findByName(const std::vector<std::unique_ptr<Part>>& parts, const std::string& name) {
    for (const auto& part : parts) {
        if (part->name == name) return part.get();
    }
    return nullptr;
}

}  // namespace

const PropertyInfo* ClassInfo::findProperty(const std::string& propertyName) const {
    return findByName(properties, propertyName);
}

const ClassInfo* PackageInfo::findClass(const std::string& className) const {
    return findByName(classes, className);
}

Metamodel::Metamodel(std::string file, std::string name, std::string version)
    : file_(std::move(file)), name_(std::move(name)), version_(std::move(version)) {}

PackageInfo& Metamodel::addPackage(std::string name, long line) {
    auto package = std::make_unique<PackageInfo>();
    package->name = std::move(name);
    package->line = line;
    packages_.push_back(std::move(package));
    return *packages_.back();
}

ClassInfo& Metamodel::addClass(PackageInfo& package, std::string name, long line) {
    auto added = std::make_unique<ClassInfo>();
    added->name = std::move(name);
    added->line = line;
    added->index = classes_.size();
    added->metamodel = this;
    classes_.push_back(added.get());
    package.classes.push_back(std::move(added));
    return *package.classes.back();
}

PropertyInfo& Metamodel::addProperty(ClassInfo& owner, std::string name, PropertyKind kind,
                                     bool indexed, long line) {
    auto property = std::make_unique<PropertyInfo>();
    property->name = std::move(name);
    property->kind = kind;
    property->indexed = indexed;
    property->line = line;
    property->position = owner.properties.size();
    property->owner = &owner;
    owner.properties.push_back(std::move(property));
    return *owner.properties.back();
}

const PackageInfo* Metamodel::findPackage(const std::string& packageName) const {
    return findByName(packages_, packageName);
}

std::string Metamodel::description() const {
    std::string text = name_ + " " + version_ + ":";
    for (const auto& package : packages_) {
        for (const auto& cls : package->classes) {
            text += " " + package->name + "." + cls->name + "(";
            for (std::size_t i = 0; i < cls->properties.size(); ++i) {
                const PropertyInfo& property = *cls->properties[i];
                if (i > 0) text += ", ";
                text += property.name + " " + propertyKindText(property.kind);
                if (property.indexed) text += " indexed";
            }
            text += ")";
        }
    }
    return text;
}

const char* propertyKindText(PropertyKind kind) {
    return kind == PropertyKind::Object ? "object" : "text";
}

}  // namespace vrex::internal
