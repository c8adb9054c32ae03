#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <typeindex>
#include <unordered_map>
#include <vector>

#include "kobj/COSPropInfo.hpp"
#include "kobj/factory/KobjConstructor.hpp"
#include "kobj/factory/KobjMethod.hpp"

namespace kobj {

class ClassRegistry;
namespace factory {
class ClassBuilder;
}

// A published class as its publishing routine declared it: superclass, constructors, methods and
// properties, plus the C++ types whose objects belong to it. Built by a factory::ClassBuilder,
// linked to its superclass by the ClassRegistry, then read-only. Owned by its class-info object;
// valid until its package is released.
class ClassRecord {
public:
    using Constructors = std::vector<std::unique_ptr<factory::impl::KobjConstructor>>;
    using Methods = std::vector<std::unique_ptr<factory::KobjMethod>>;
    using Properties = std::vector<std::unique_ptr<COSPropInfo>>;

    ClassRecord(std::string name, std::string description);
    ClassRecord(const ClassRecord&) = delete;
    ClassRecord& operator=(const ClassRecord&) = delete;
    ~ClassRecord();

    // The published name, "Package.ShortName".
    const std::string& name() const { return name_; }
    const std::string& description() const { return description_; }
    // "" for the root class.
    const std::string& superclassName() const { return superclassName_; }
    // Null for the root class.
    const ClassRecord* superclass() const { return superclass_; }

    // This class's own members, in the order they were published.
    const Constructors& constructors() const { return constructors_; }
    const Methods& methods() const { return methods_; }
    const Properties& properties() const { return properties_; }

    // Every property of the class, its superclasses' first (root first), each name once.
    const std::vector<const COSPropInfo*>& allProperties() const { return allProperties_; }
    // The property or method `name` of this class or the nearest superclass; null when absent.
    const COSPropInfo* findProperty(const std::string& name) const;
    const factory::KobjMethod* findMethod(const std::string& name) const;

    // True when this is `other` or one of its subclasses.
    bool isA(const ClassRecord& other) const;
    bool isA(std::string_view className) const;
    // A class without a published constructor cannot be created by scripts.
    bool isAbstract() const { return constructors_.empty(); }
    // The constructor that rebuilds objects from their properties: the one with the fewest
    // arguments (the first of those). Null for an abstract class.
    const factory::impl::KobjConstructor* restoringConstructor() const;

    // The C++ types registered for this class (each maps its objects to this record).
    const std::vector<std::type_index>& nativeTypes() const { return nativeTypes_; }

private:
    friend class factory::ClassBuilder;
    friend class ClassRegistry;

    // Connects the record to its superclass (null for a root) and indexes the inherited members.
    void link(const ClassRecord* superclass);

    std::string name_;
    std::string description_;
    std::string superclassName_;
    const ClassRecord* superclass_ = nullptr;
    Constructors constructors_;
    Methods methods_;
    Properties properties_;
    std::vector<std::type_index> nativeTypes_;

    std::vector<const COSPropInfo*> allProperties_;
    std::unordered_map<std::string, const COSPropInfo*> propertyIndex_;
    std::unordered_map<std::string, const factory::KobjMethod*> methodIndex_;
};

}  // namespace kobj
