#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <typeindex>
#include <unordered_map>
#include <vector>

#include "kobj/COSPackageInfo.hpp"
#include "kobj/ClassRecord.hpp"

namespace tv::mi {
class Handle;
}

namespace kobj {

// The built-in root class: the superclass of the root classes of every package, so that objects
// of different classes can stand in one object array.
inline constexpr const char* kHeterogeneousRootName = "velmor.mixin.Heterogeneous";

// The class system's tables: the registered packages, the published classes by name and by C++
// type, and the built-in root class. One per process, created on first use. Classes are
// published lazily: a class's routine runs the first time the class is looked up (or one of its
// subclasses is). Not locked: like the library, it is used from one thread.
class ClassRegistry {
public:
    static ClassRegistry& instance();

    ClassRegistry(const ClassRegistry&) = delete;
    ClassRegistry& operator=(const ClassRegistry&) = delete;

    // See COSPackage::addPackage.
    bool addPackage(std::unique_ptr<COSPackageInfo> package);
    // The registered package `name`, or null.
    COSPackageInfo* findPackage(const std::string& name) const;
    // Withdraws the package `name` and its classes and deletes it; false when there is none.
    bool releasePackage(const std::string& name);
    std::vector<std::string> packageNames() const;

    // The record of the published class `className` ("Package.ShortName", or the root's name),
    // publishing it (and its superclasses) on first use. Null when no registered package has it.
    const ClassRecord* findClass(std::string_view className);
    // The same, but throws kobj::Error "kobj:unknownClass" instead of returning null.
    const ClassRecord& getClass(const std::string& className);
    // Whether the class is published now; publishes nothing.
    bool isPublished(const std::string& className) const;
    // Every class of the package, in the order of its class-list loader, all published. Empty for
    // an unknown package.
    std::vector<const ClassRecord*> packageClasses(const std::string& packageName);
    const ClassRecord& root() const { return root_; }

    // The class of `object`: the class registered for its dynamic C++ type, else the class it
    // reports (getFullyQualifiedKobjTypeName), else null.
    const ClassRecord* classOf(const tv::mi::Handle& object);
    // Whether `object` belongs to `className` or to one of its subclasses.
    bool isInstanceOf(const tv::mi::Handle& object, std::string_view className);

private:
    ClassRegistry();

    // Runs the class's publishing routine once and links and indexes its record.
    const ClassRecord& publish(COSClassInfo& classInfo);
    void publishAllClasses();
    void index(const ClassRecord& record);
    void unindex(const ClassRecord& record);
    const ClassRecord* classOfType(const tv::mi::Handle& object) const;

    ClassRecord root_;
    std::vector<std::unique_ptr<COSPackageInfo>> packages_;
    std::unordered_map<std::string_view, const ClassRecord*> classesByName_;  // keys: the records' names
    std::unordered_map<std::type_index, const ClassRecord*> classesByType_;
    std::vector<const COSClassInfo*> publishing_;  // routines running now (a cycle guard)
};

}  // namespace kobj
