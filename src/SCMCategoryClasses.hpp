#pragma once

#include <array>
#include <map>
#include <string>

#include "SCMTypes.hpp"
#include "vrex/ClassRef.hpp"
#include "vrex/PackageRef.hpp"
#include "vrex/PropertyRef.hpp"

namespace SCM {

// The dictionary class of every entry category and its four properties, looked up once in the
// package "SCM" instead of by name on every call. Internal to the library.
class SCMCategoryClasses {
public:
    struct Category {
        vrex::ClassRef entryClass;  // null when the package has no class of that name
        vrex::PropertyRef checksum;  // each null when the class does not declare it
        vrex::PropertyRef name;
        vrex::PropertyRef identity;
        vrex::PropertyRef data;
    };

    // Every ref null.
    SCMCategoryClasses() = default;
    explicit SCMCategoryClasses(const vrex::PackageRef& package);

    // The class named scmTypeToString(type) and its properties: 4 and any value outside the
    // enumeration give "SCM_NUM".
    const Category& of(SCMTypes type) const;
    // The class called `className` (an identity's getTypeString()) and its properties; a name
    // that is no category's is looked up in the package on first use.
    const Category& of(const std::string& className) const;

private:
    Category lookUp(const std::string& className) const;

    vrex::PackageRef package_;
    std::array<std::string, 7> names_;     // by enumeration value
    std::array<Category, 7> categories_;  // by enumeration value
    mutable std::map<std::string, Category> others_;
};

}  // namespace SCM
