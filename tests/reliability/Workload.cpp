#include "reliability/Workload.hpp"

#include <algorithm>

#include "kobj/ObjectEncoding.hpp"

namespace reliability {

using namespace SCM;

namespace {

const SCMTypes kCategories[] = {SCM_UTILITIES, SCM_SHARED_FUNCTIONS, SCM_SHARED_TYPES,
                                SCM_OTHER,     SCM_SHARED_DATA,      SCM_SHARED_CONSTANTS};

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

SCMTypes categoryOf(unsigned key) { return kCategories[key % 6]; }

Contribution contribution(unsigned key, const std::string& contributor) {
    switch (categoryOf(key)) {
        case SCM_UTILITIES: return utility(key, contributor);
        case SCM_SHARED_FUNCTIONS: return sharedFunction(key);
        case SCM_SHARED_TYPES: return sharedType(key);
        case SCM_OTHER: return multiword(key, contributor);
        case SCM_SHARED_DATA: return sharedData(key);
        default: return constant(key, contributor);
    }
}

std::unique_ptr<SCMData> mergedRecord(unsigned key, const std::vector<std::string>& contributors) {
    std::unique_ptr<SCMData> merged;
    for (const std::string& contributor : contributors) {
        Contribution next = contribution(key, contributor);
        if (merged == nullptr) {
            merged = std::move(next.data);
        } else {
            merged->update(next.data.get());
        }
    }
    return merged;
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

}  // namespace reliability
