#include "CatalogueDescription.hpp"

#include <vector>

#include "kobj/ClassRegistry.hpp"
#include "kobj/PropertyAttributes.hpp"
#include "kobj/Signature.hpp"

namespace py = pybind11;

namespace scmpy {

namespace {

std::string shortNameOf(const std::string& className) {
    return className.substr(className.rfind('.') + 1);
}

// "Name(str, int (uint32))" for the argument types from `first` on.
std::string usage(const std::string& name, const std::vector<std::string>& argumentTypes,
                  std::size_t first) {
    std::string text = name + "(";
    for (std::size_t i = first; i < argumentTypes.size(); ++i) {
        if (i > first) text += ", ";
        text += pythonTypeOf(argumentTypes[i]);
    }
    return text + ")";
}

// The by-name interface returns one value: the first declared result.
std::string resultUsage(const std::vector<std::string>& results) {
    return results.empty() ? "None" : pythonTypeOf(results.front());
}

py::list constructorsOf(const kobj::ClassRecord& record) {
    py::list constructors;
    for (const auto& constructor : record.constructors()) {
        py::dict entry;
        entry["usage"] = usage(shortNameOf(record.name()), constructor->signature().arguments, 0);
        constructors.append(entry);
    }
    return constructors;
}

py::list methodsOf(const kobj::ClassRecord& record) {
    py::list methods;
    for (const auto& method : record.methods()) {
        const kobj::Signature& signature = method->signature();
        py::dict entry;
        entry["name"] = method->name();
        // The published arguments start with the object itself.
        entry["usage"] =
            usage(method->name(), signature.arguments, 1) + " -> " + resultUsage(signature.results);
        entry["signature"] = signature.toString(method->name());
        entry["hidden"] = method->attributes().hidden;
        methods.append(entry);
    }
    return methods;
}

py::list propertiesOf(const kobj::ClassRecord& record) {
    py::list properties;
    for (const auto& property : record.properties()) {
        py::dict entry;
        entry["name"] = property->name();
        entry["type"] = property->typeText();
        entry["python_type"] = pythonTypeOf(property->typeText());
        entry["read_only"] = property->isReadOnly();
        entry["hidden"] = kobj::attributes::isHidden(property->attributes());
        entry["dependent"] = kobj::attributes::isDependent(property->attributes());
        properties.append(entry);
    }
    return properties;
}

}  // namespace

py::list describePackage(const std::string& packageName) {
    py::list classes;
    for (const kobj::ClassRecord* record :
         kobj::ClassRegistry::instance().packageClasses(packageName)) {
        py::dict entry;
        entry["name"] = record->name();
        entry["short_name"] = shortNameOf(record->name());
        entry["superclass"] = record->superclassName();
        entry["description"] = record->description();
        entry["constructors"] = constructorsOf(*record);
        entry["methods"] = methodsOf(*record);
        entry["properties"] = propertiesOf(*record);
        classes.append(entry);
    }
    return classes;
}

std::string pythonTypeOf(const std::string& typeText) {
    switch (kobj::categoryOf(typeText)) {
        case kobj::TypeCategory::Text: return "str";
        case kobj::TypeCategory::Logical: return "bool";
        case kobj::TypeCategory::UInt32: return "int (uint32)";
        case kobj::TypeCategory::Int32: return "int (int32)";
        case kobj::TypeCategory::Cell: return "list of str";
        case kobj::TypeCategory::Object: return shortNameOf(typeText);
        case kobj::TypeCategory::ObjectVector:
            return "list of " + shortNameOf(kobj::objectClassOf(typeText));
    }
    return typeText;
}

}  // namespace scmpy
