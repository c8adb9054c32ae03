#include "vrex/internal/session/SchemaPlan.hpp"

#include <iterator>

#include "vrex/internal/metamodel/Identifiers.hpp"

namespace vrex::internal {

bool SchemaPlan::compare(const Metamodel& metamodel, const Catalogue& catalogue,
                         const std::string& location, tvdiag::util::diagnostics& diagnostics) {
    bool fits = true;
    for (const ClassInfo* cls : metamodel.classes()) {
        auto storedClass = catalogue.find(asciiLowercase(cls->name));
        if (storedClass == catalogue.end()) {
            newTables.push_back(cls);
            continue;
        }
        for (const auto& property : cls->properties) {
            auto stored = storedClass->second.find(asciiLowercase(property->name));
            if (stored == storedClass->second.end()) {
                newColumns.push_back(property.get());
            } else if (!stored->second.recorded) {
                newRecords.push_back(property.get());
            } else if (stored->second.kind != propertyKindText(property->kind)) {
                diagnostics.add("vrex:open:metamodelMismatch",
                                "the registry \"" + location + "\" stores " + cls->name + "." +
                                    property->name + " as " + stored->second.kind + ", but " +
                                    metamodel.file() + ":" + std::to_string(property->line) +
                                    " declares it " + propertyKindText(property->kind));
                fits = false;
            } else if (property->indexed && !stored->second.indexed) {
                newIndexes.push_back(property.get());
            }
        }
    }
    return fits;
}

namespace {

bool completeProperty(SchemaSteps& steps, const PropertyInfo& property, tvdiag::util::diagnostics& diagnostics) {
    return (!property.indexed || steps.addIndex(property, diagnostics)) && steps.record(property, diagnostics);
}

}  // namespace

bool SchemaPlan::apply(SchemaSteps& steps, tvdiag::util::diagnostics& diagnostics) const {
    if (createHeader && !steps.createHeader(diagnostics)) return false;
    for (const ClassInfo* cls : newTables) {
        if (!steps.createTable(*cls, diagnostics)) return false;
        for (const auto& property : cls->properties) {
            if (!completeProperty(steps, *property, diagnostics)) return false;
        }
    }
    for (const PropertyInfo* property : newColumns) {
        if (!steps.addColumn(*property, diagnostics) || !completeProperty(steps, *property, diagnostics)) {
            return false;
        }
    }
    for (const PropertyInfo* property : newIndexes) {
        if (!steps.addIndex(*property, diagnostics) || !steps.record(*property, diagnostics)) return false;
    }
    for (const PropertyInfo* property : newRecords) {
        if (!completeProperty(steps, *property, diagnostics)) return false;
    }
    return true;
}

std::string SchemaPlan::missingTable(const ClassInfo& cls) { return "the table of " + cls.name + " is missing"; }

std::string SchemaPlan::missingColumn(const PropertyInfo& property) {
    return "the column of " + property.owner->name + "." + property.name + " is missing";
}

void SchemaPlan::describe(std::vector<std::string>& findings) const {
    const auto name = [](const PropertyInfo* property) { return property->owner->name + "." + property->name; };
    if (createHeader) findings.push_back("the registry header is missing");
    for (const ClassInfo* cls : newTables) findings.push_back(missingTable(*cls));
    for (const PropertyInfo* property : newColumns) findings.push_back(missingColumn(*property));
    for (const PropertyInfo* property : newIndexes) findings.push_back("the index of " + name(property) + " is missing");
    for (const PropertyInfo* property : newRecords) {
        findings.push_back("the catalogue row of " + name(property) + " is missing");
    }
}

bool describeInspection(bool inspected, const SchemaPlan& plan, const tvdiag::util::diagnostics& problems,
                        const std::string& failure, std::vector<std::string>& findings) {
    if (inspected) {
        plan.describe(findings);
        return true;
    }
    for (const auto& record : problems.records()) {
        if (record.identifier == failure) return false;
        findings.push_back(record.message);
    }
    return true;
}

void keepWhatExists(Catalogue& catalogue, const std::map<std::string, std::set<std::string>>& columns,
                    const std::set<std::string>& indexes) {
    static const std::set<std::string> none;
    for (auto cls = catalogue.begin(); cls != catalogue.end();) {
        auto table = columns.find(cls->first);
        const auto& held = table != columns.end() ? table->second : none;
        for (auto property = cls->second.begin(); property != cls->second.end();) {
            if (held.count(property->first) == 0) {
                property = cls->second.erase(property);
                continue;
            }
            const std::string index = "index:" + cls->first + "." + property->first;
            property->second.indexed = property->second.indexed && indexes.count(index) != 0;
            ++property;
        }
        cls = cls->second.empty() ? catalogue.erase(cls) : std::next(cls);
    }
    for (const auto& [table, held] : columns) {
        for (const std::string& column : held) {
            auto [property, isNew] = catalogue[table].try_emplace(column);
            if (isNew) property->second.recorded = false;
        }
    }
}

namespace {

bool isRegistryPart(const SchemaObject& object, const Catalogue& catalogue) {
    const std::string name = asciiLowercase(object.name);
    if (object.type == "table") {
        return name == "_vrex_registry" || name == "_vrex_catalogue" || catalogue.count(name) != 0;
    }
    if (object.type != "index") return false;
    const std::string table = asciiLowercase(object.table);
    const std::string prefix = "index:" + table + ".";
    auto cls = catalogue.find(table);
    return cls != catalogue.end() && name.rfind(prefix, 0) == 0 &&
           cls->second.count(name.substr(prefix.size())) != 0;
}

}  // namespace

void findForeignParts(const std::vector<SchemaObject>& objects, const Catalogue& catalogue,
                      std::vector<std::string>& findings) {
    for (const SchemaObject& object : objects) {
        if (isRegistryPart(object, catalogue)) continue;
        const bool ofTable = object.type == "index" || object.type == "trigger";
        findings.push_back(object.type + " \"" + object.name + "\"" +
                           (ofTable ? " on table \"" + object.table + "\"" : std::string()) +
                           " is not part of the registry's schema");
    }
}

}  // namespace vrex::internal
