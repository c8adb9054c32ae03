#include "kobj/ClassRegistry.hpp"

#include <algorithm>
#include <stdexcept>
#include <typeinfo>

#include "kobj/Error.hpp"
#include "kobj/factory/ClassBuilder.hpp"
#include "kobj/Handle.hpp"

namespace kobj {

ClassRegistry& ClassRegistry::instance() {
    static ClassRegistry registry;
    return registry;
}

ClassRegistry::ClassRegistry()
    : root_(kHeterogeneousRootName, "objects of different classes in one array") {
    root_.link(nullptr);
    index(root_);
}

bool ClassRegistry::addPackage(std::unique_ptr<COSPackageInfo> package) {
    if (findPackage(package->name()) != nullptr) return false;
    packages_.push_back(std::move(package));
    return true;
}

COSPackageInfo* ClassRegistry::findPackage(const std::string& name) const {
    for (const auto& package : packages_) {
        if (name == package->name()) return package.get();
    }
    return nullptr;
}

bool ClassRegistry::releasePackage(const std::string& name) {
    auto found = std::find_if(packages_.begin(), packages_.end(),
                              [&](const auto& package) { return name == package->name(); });
    if (found == packages_.end()) return false;
    if ((*found)->isClassListLoaded()) {
        for (const auto& classInfo : (*found)->classes()) {
            if (classInfo->record() != nullptr) unindex(*classInfo->record());
        }
    }
    packages_.erase(found);
    return true;
}

std::vector<std::string> ClassRegistry::packageNames() const {
    std::vector<std::string> names;
    for (const auto& package : packages_) names.emplace_back(package->name());
    return names;
}

const ClassRecord* ClassRegistry::findClass(std::string_view className) {
    auto published = classesByName_.find(className);
    if (published != classesByName_.end()) return published->second;
    const std::size_t dot = className.rfind('.');
    if (dot == std::string_view::npos) return nullptr;
    COSPackageInfo* package = findPackage(std::string(className.substr(0, dot)));
    if (package == nullptr) return nullptr;
    COSClassInfo* classInfo = package->attemptToLoadClass(std::string(className.substr(dot + 1)));
    return classInfo == nullptr ? nullptr : &publish(*classInfo);
}

const ClassRecord& ClassRegistry::getClass(const std::string& className) {
    const ClassRecord* record = findClass(className);
    if (record == nullptr) {
        throw Error("kobj:unknownClass", "There is no published class " + className + ".");
    }
    return *record;
}

bool ClassRegistry::isPublished(const std::string& className) const {
    return classesByName_.count(className) != 0;
}

std::vector<const ClassRecord*> ClassRegistry::packageClasses(const std::string& packageName) {
    std::vector<const ClassRecord*> records;
    COSPackageInfo* package = findPackage(packageName);
    if (package == nullptr) return records;
    for (const auto& classInfo : package->classes()) records.push_back(&publish(*classInfo));
    return records;
}

const ClassRecord* ClassRegistry::classOf(const tv::mi::Handle& object) {
    if (const ClassRecord* record = classOfType(object)) return record;
    if (const ClassRecord* record = findClass(object.getFullyQualifiedKobjTypeName())) {
        return record;
    }
    // A type whose class is not published yet and that reports a name of no class: publish
    // everything once and look again.
    publishAllClasses();
    return classOfType(object);
}

bool ClassRegistry::isInstanceOf(const tv::mi::Handle& object, std::string_view className) {
    const ClassRecord* record = classOf(object);
    return record != nullptr && record->isA(className);
}

const ClassRecord& ClassRegistry::publish(COSClassInfo& classInfo) {
    if (classInfo.record_ != nullptr) return *classInfo.record_;
    if (std::find(publishing_.begin(), publishing_.end(), &classInfo) != publishing_.end()) {
        throw std::logic_error("class " + classInfo.publishedName() + " is its own superclass");
    }
    publishing_.push_back(&classInfo);
    try {
        auto record =
            std::make_unique<ClassRecord>(classInfo.publishedName(), classInfo.description());
        factory::ClassBuilder builder(*record);
        classInfo.publish(builder);
        if (record->superclassName_.empty()) record->superclassName_ = root_.name();
        const ClassRecord* superclass = findClass(record->superclassName_);
        if (superclass == nullptr) {
            throw std::logic_error("class " + record->name() + " names the unknown superclass " +
                                   record->superclassName_);
        }
        record->link(superclass);
        classInfo.record_ = std::move(record);
    } catch (...) {
        publishing_.pop_back();
        throw;
    }
    publishing_.pop_back();
    index(*classInfo.record_);
    return *classInfo.record_;
}

void ClassRegistry::publishAllClasses() {
    for (const auto& package : packages_) {
        for (const auto& classInfo : package->classes()) publish(*classInfo);
    }
}

void ClassRegistry::index(const ClassRecord& record) {
    // The key views the name of the record it maps to, never that of one it replaced.
    classesByName_.erase(record.name());
    classesByName_.emplace(record.name(), &record);
    for (const std::type_index& type : record.nativeTypes()) classesByType_[type] = &record;
}

void ClassRegistry::unindex(const ClassRecord& record) {
    classesByName_.erase(record.name());
    for (const std::type_index& type : record.nativeTypes()) {
        auto found = classesByType_.find(type);
        if (found != classesByType_.end() && found->second == &record) classesByType_.erase(found);
    }
}

const ClassRecord* ClassRegistry::classOfType(const tv::mi::Handle& object) const {
    auto found = classesByType_.find(std::type_index(typeid(object)));
    return found == classesByType_.end() ? nullptr : found->second;
}

}  // namespace kobj
