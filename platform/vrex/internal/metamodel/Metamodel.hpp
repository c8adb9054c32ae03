#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "vrex/PropertyKind.hpp"

namespace vrex::internal {

class Metamodel;
struct ClassInfo;

// A property as the metamodel declares it. Owned by its class.
struct PropertyInfo {
    std::string name;
    PropertyKind kind = PropertyKind::Text;
    bool indexed = false;
    long line = 0;                     // line of the declaration in the metamodel file
    std::size_t position = 0;          // position among its class's properties
    const ClassInfo* owner = nullptr;  // the class that declares it
};

// A class as the metamodel declares it. Owned by its package.
struct ClassInfo {
    std::string name;
    long line = 0;
    std::size_t index = 0;  // position among all classes of the metamodel
    std::vector<std::unique_ptr<PropertyInfo>> properties;
    const Metamodel* metamodel = nullptr;

    // The property called exactly `propertyName`, or null.
    const PropertyInfo* findProperty(const std::string& propertyName) const;
};

struct PackageInfo {
    std::string name;
    long line = 0;
    std::vector<std::unique_ptr<ClassInfo>> classes;

    // The class called exactly `className`, or null.
    const ClassInfo* findClass(const std::string& className) const;
};

// A metamodel read from its XML file: packages of classes of properties. Built once by
// MetamodelReader, then shared read-only (shared_ptr<const Metamodel>) by the repository and by
// every ref into it. Its parts point back to it, so it never moves.
class Metamodel {
public:
    Metamodel(std::string file, std::string name, std::string version);
    Metamodel(const Metamodel&) = delete;
    Metamodel& operator=(const Metamodel&) = delete;

    // Builders, used while reading; each returns the new part, owned by this metamodel.
    PackageInfo& addPackage(std::string name, long line);
    ClassInfo& addClass(PackageInfo& package, std::string name, long line);
    PropertyInfo& addProperty(ClassInfo& owner, std::string name, PropertyKind kind, bool indexed,
                              long line);

    const std::string& file() const { return file_; }
    const std::string& name() const { return name_; }
    const std::string& version() const { return version_; }
    const std::vector<std::unique_ptr<PackageInfo>>& packages() const { return packages_; }
    // Every class of every package, in document order (ClassInfo::index is the position).
    const std::vector<const ClassInfo*>& classes() const { return classes_; }

    const PackageInfo* findPackage(const std::string& packageName) const;

    // One line that states the whole schema, e.g.
    // "shared_metamodel 1: SCM.SCM_NUM(Checksum text indexed, Data object)"; recorded in registries.
    std::string description() const;

private:
    std::string file_;
    std::string name_;
    std::string version_;
    std::vector<std::unique_ptr<PackageInfo>> packages_;
    std::vector<const ClassInfo*> classes_;
};

// "text" or "object".
const char* propertyKindText(PropertyKind kind);

}  // namespace vrex::internal
