#include "reliability/Workload.hpp"

#include <algorithm>
#include <cstring>
#include <iostream>

#include "kobj/ObjectEncoding.hpp"

namespace reliability {

using namespace SCM;

namespace {

// FNV-1a: a stable choice of which contributors switch a constant on.
unsigned stableHash(const std::string& text) {
    unsigned hash = 2166136261u;
    for (unsigned char c : text) hash = (hash ^ c) * 16777619u;
    return hash;
}

Contribution utility(unsigned key, const std::string& contributor) {
    const std::string name = "rt_util" + std::to_string(key);
    auto record = std::make_unique<SCMBasicUtilityData>(name + "_s32", "id" + std::to_string(key));
    record->setName(name);
    record->setMultiword(key % 2 == 1);
    record->setComplex(key % 3 == 0);
    record->setChildren({"rt_child" + std::to_string(key)});
    record->setModelNames({contributor});
    record->addTraceability(contributor + ":blk" + std::to_string(key));
    return {std::make_unique<SCMBasicUtilityIdentity>(name), std::move(record)};
}

Contribution sharedFunction(unsigned key) {
    const std::string name = "fn" + std::to_string(key);
    auto record = std::make_unique<SCMSharedFunctionData>(name, name + ".c");
    record->setName(name);
    return {std::make_unique<SCMSharedFunctionIdentity>(key, 1, 2, 3), std::move(record)};
}

Contribution sharedType(unsigned key) {
    const std::string name = "T" + std::to_string(key);
    auto record = std::make_unique<SCMSharedTypesData>(name);
    record->setKind("SCM_SHARED_TYPES");
    record->setFileName("types.h");
    record->setDefinition("typedef struct { int f" + std::to_string(key) + "; } " + name + ";");
    return {std::make_unique<SCMSharedTypesIdentity>(key, 4, 5, 6), std::move(record)};
}

Contribution multiword(unsigned key, const std::string& contributor) {
    const std::string prefix = "mw" + std::to_string(key);
    auto record = std::make_unique<SCMMultiWordFcnData>(
        std::vector<std::string>{prefix + "_base", prefix + "_" + contributor});
    record->setName(prefix);
    return {std::make_unique<SCMGenericIdentity>(SCM_OTHER, prefix), std::move(record)};
}

Contribution sharedData(unsigned key) {
    const std::string name = "g" + std::to_string(key);
    auto record = std::make_unique<SCMSharedData>(name);
    record->setKind("SCM_SHARED_DATA_DEFINITION");
    record->setCscName("ExportedGlobal");
    record->setMemSecPrePragma(static_cast<int>(key % 7) - 3);
    record->setPackageName("pkg");
    return {std::make_unique<SCMSharedDataIdentity>(key, 7, 8, 9), std::move(record)};
}

Contribution constant(unsigned key, const std::string& contributor) {
    const std::string name = "K" + std::to_string(key);
    auto record = std::make_unique<SCMSharedConstantsData>(name);
    record->setInitialString(std::to_string(key) + ".5");
    record->setDataType("double");
    record->setDoUpdate(stableHash(contributor + name) % 3 == 0);
    return {std::make_unique<SCMSharedConstantsIdentity>(key, 10, 11, 12), std::move(record)};
}

}  // namespace

Contribution contribution(unsigned key, const std::string& contributor) {
    switch (key % 6) {
        case 0: return utility(key, contributor);
        case 1: return sharedFunction(key);
        case 2: return sharedType(key);
        case 3: return multiword(key, contributor);
        case 4: return sharedData(key);
        default: return constant(key, contributor);
    }
}

std::string canonical(const SCMData& record) {
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

const SCMData* RegistryContents::find(SCMIdentity& identity) const {
    auto found = records.find(identity.getTypeString() + "/" + identity.getChecksum());
    return found == records.end() ? nullptr : found->second.get();
}

RegistryContents checkRegistry(const std::string& location) {
    RegistryContents contents;
    SCMRegistryInspector registry(location);
    if (!registry.isOpen()) {
        contents.problems.push_back("cannot open: " + registry.getOpenError());
        return contents;
    }
    contents.opened = true;
    auto problems = tvdiag::util::diagnostics::getEmptyInstance();
    auto error = tvdiag::util::diagnostics::getEmptyInstance();
    registry.checkEntries(problems, error);
    for (const auto* found : {&problems, &error}) {
        for (const tvdiag::util::diagnostic& problem : found->records()) {
            contents.problems.push_back(problem.identifier + ": " + problem.message);
        }
    }
    for (SCMTypes type : {SCM_UTILITIES, SCM_SHARED_FUNCTIONS, SCM_SHARED_TYPES, SCM_OTHER, SCM_NUM,
                          SCM_SHARED_DATA, SCM_SHARED_CONSTANTS}) {
        for (const SCMIdentityDataPair& pair : registry.getAllEntries(type)) {
            std::unique_ptr<SCMIdentity> identity(pair.first);
            std::unique_ptr<SCMData> record(pair.second);
            ++contents.objects;
            // The first of a duplicate, as look-ups do (the check reports duplicates).
            contents.records.emplace(identity->getTypeString() + "/" + identity->getChecksum(), std::move(record));
        }
    }
    return contents;
}

unsigned compareRecords(const RegistryContents& contents, const ExpectedRecords& expected,
                        const std::string& context) {
    unsigned differences = 0;
    auto report = [&](const std::string& text) {
        if (++differences <= 10) std::cout << context << text << '\n';
    };
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

std::string optionText(int argc, char** argv, const char* name, const std::string& fallback) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0) return argv[i + 1];
    }
    return fallback;
}

unsigned optionNumber(int argc, char** argv, const char* name, unsigned fallback) {
    const std::string text = optionText(argc, argv, name, "");
    return text.empty() ? fallback : static_cast<unsigned>(std::stoul(text));
}

}  // namespace reliability
