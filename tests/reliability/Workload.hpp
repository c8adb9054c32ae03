#pragma once

// What the reliability programs share: the registrations they make, and one way to read a
// registry back and compare it with what must be stored.

#include <algorithm>
#include <cstring>
#include <functional>
#include <iostream>
#include <map>
#include <memory>
#include <string>
#include <vector>

#include "kobj/ObjectEncoding.hpp"
#include "shared_code_manager.hpp"

namespace reliability {

// One registration: the key and the record a contributor offers for it. Both owned.
struct Contribution {
    std::unique_ptr<SCM::SCMIdentity> identity;
    std::unique_ptr<SCM::SCMData> data;
};

// The records expected in a registry, by key number.
using ExpectedRecords = std::map<unsigned, std::unique_ptr<SCM::SCMData>>;

// A registry as read back: the result of the integrity check `scm check` runs, and every entry.
struct RegistryContents {
    std::vector<std::string> problems;  // one line each; empty for a sound registry
    std::size_t objects = 0;            // in every category
    std::map<std::string, std::unique_ptr<SCM::SCMData>> records;  // by "<category>/<checksum>"

    const SCM::SCMData* find(SCM::SCMIdentity& identity) const {  // null when absent
        auto found = records.find(identity.getTypeString() + "/" + identity.getChecksum());
        return found == records.end() ? nullptr : found->second.get();
    }
};

using namespace SCM;

// What `contributor` (a short tag such as "p3") registers for key number `key`; three categories
// take turns, each of whose merges grows the record: utilities gain the contributor in ModelNames
// and a traceability entry, SCM_OTHER function lists a name of the contributor's, constants are
// switched on by some contributors. The merge of contributions does not depend on their order
// except for the order of the grown lists.
inline Contribution contribution(unsigned key, const std::string& contributor) {
    const std::string name = "rt" + std::to_string(key);
    if (key % 3 == 0) {
        auto record = std::make_unique<SCMBasicUtilityData>(name + "_s32", "id" + std::to_string(key));
        record->setName(name);
        record->setModelNames({contributor});
        record->addTraceability(contributor + ":blk" + std::to_string(key));
        return {std::make_unique<SCMBasicUtilityIdentity>(name), std::move(record)};
    }
    if (key % 3 == 1) {
        auto record = std::make_unique<SCMMultiWordFcnData>(std::vector<std::string>{name, name + "_" + contributor});
        record->setName(name);
        return {std::make_unique<SCMGenericIdentity>(SCM_OTHER, name), std::move(record)};
    }
    auto record = std::make_unique<SCMSharedConstantsData>(name);
    record->setInitialString(std::to_string(key) + ".5");
    record->setDataType("double");
    record->setDoUpdate(std::hash<std::string>()(contributor + name) % 3 == 0);
    return {std::make_unique<SCMSharedConstantsIdentity>(key, 10, 11, 12), std::move(record)};
}

// Adds one contribution to the records expected in a registry, by key number.
inline void merge(ExpectedRecords& expected, unsigned key, const std::string& contributor) {
    Contribution entry = contribution(key, contributor);
    auto& record = expected[key];
    if (record == nullptr) {
        record = std::move(entry.data);
    } else {
        record->update(entry.data.get());
    }
}

// A text equal for two records exactly when they hold the same class and fields, the lists that
// merges grow taken in sorted order.
inline std::string canonical(const SCMData& record) {
    std::unique_ptr<SCMData> copy(record.clone());
    if (auto* utility = dynamic_cast<SCMBasicUtilityData*>(copy.get())) {
        std::vector<std::string> models = utility->getModelNames();
        std::sort(models.begin(), models.end());
        utility->setModelNames(models);
    } else if (auto* functions = dynamic_cast<SCMMultiWordFcnData*>(copy.get())) {
        std::vector<std::string> names = functions->getFcnNames();
        std::sort(names.begin(), names.end());
        functions->setFcnNames(names);
    }
    return kobj::encodeObject(copy->toScriptValue());
}

// Opens `location`, checks it and reads every entry. Never throws for a bad registry.
inline RegistryContents checkRegistry(const std::string& location) {
    RegistryContents contents;
    SCMRegistryInspector registry(location);
    if (!registry.isOpen()) {
        contents.problems.push_back("cannot open: " + registry.getOpenError());
        return contents;
    }
    auto problems = tvdiag::util::diagnostics::getEmptyInstance();
    auto error = tvdiag::util::diagnostics::getEmptyInstance();
    registry.checkEntries(problems, error);
    for (const auto* found : {&problems, &error}) {
        for (const tvdiag::util::diagnostic& problem : found->records()) {
            contents.problems.push_back(problem.identifier + ": " + problem.message);
        }
    }
    for (int type = SCM_UTILITIES; type <= SCM_SHARED_CONSTANTS; ++type) {
        for (const SCM::SCMIdentityDataPair& pair : registry.getAllEntries(static_cast<SCMTypes>(type))) {
            std::unique_ptr<SCM::SCMIdentity> identity(pair.first);
            ++contents.objects;
            // The first of a duplicate, as look-ups do (the check reports duplicates).
            contents.records.emplace(identity->getTypeString() + "/" + identity->getChecksum(),
                                     std::unique_ptr<SCMData>(pair.second));
        }
    }
    return contents;
}

// The check's problems and the differences between `contents` and `expected` (a key missing or
// holding another record, objects that no key expects), the first ten printed after `context`
// unless it is null.
inline unsigned compareRecords(const RegistryContents& contents, const ExpectedRecords& expected, const char* context) {
    unsigned differences = 0;
    auto report = [&](const std::string& text) {
        if (++differences <= 10 && context != nullptr) std::cout << context << text << '\n';
    };
    for (const std::string& problem : contents.problems) report("check: " + problem);
    if (contents.objects != expected.size()) {
        report(std::to_string(contents.objects) + " objects, expected " + std::to_string(expected.size()));
    }
    for (const auto& [key, record] : expected) {
        Contribution probe = contribution(key, "probe");
        const SCMData* stored = contents.find(*probe.identity);
        if (stored == nullptr || canonical(*stored) != canonical(*record)) {
            report("key " + std::to_string(key) + ": stored " + (stored ? canonical(*stored) : "nothing") +
                   "\n  expected " + canonical(*record));
        }
    }
    return differences;
}

// The number after `name` on the command line ("--name 12"), or `fallback`.
inline unsigned optionNumber(int argc, char** argv, const char* name, unsigned fallback) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0) return static_cast<unsigned>(std::stoul(argv[i + 1]));
    }
    return fallback;
}

}  // namespace reliability
