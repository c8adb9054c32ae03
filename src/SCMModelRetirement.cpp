#include "SCMModelRetirement.hpp"

#include <map>
#include <set>
#include <utility>

#include "RegistryDictionary.hpp"
#include "SCMBasicUtilityData.hpp"
#include "SCMProvenanceClasses.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "StoredObjects.hpp"

namespace SCM {

namespace {

vrex::DataModelRepository::Options optionsFor(SCMModelRetirement::Mode mode) {
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.readOnly = mode == SCMModelRetirement::Mode::DryRun;
    options.requireWrite = !options.readOnly;
    return options;
}

const std::string kUtilities = "SCM_UTILITIES";

}  // namespace

// What retire() finds: the outcome, and the objects to delete when pruning.
struct SCMModelRetirement::Found {
    Outcome outcome;
    std::map<std::string, bool> emptyUtilities;  // checksum -> whether retiring the model emptied it
    std::vector<vrex::ObjectRef> prunable;
};

SCMModelRetirement::SCMModelRetirement(const std::string& registry, Mode mode)
    : mode_(mode),
      categories_(openRegistryDictionary(repository_, registry, getMetaModelFile(),
                                         optionsFor(mode), openError_)) {
    if (categories_) provenance_ = std::make_unique<SCMProvenanceClasses>(repository_);
}

SCMModelRetirement::~SCMModelRetirement() = default;

bool SCMModelRetirement::isOpen() const { return categories_ != nullptr; }

const std::string& SCMModelRetirement::getOpenError() const { return openError_; }

SCMModelRetirement::Outcome SCMModelRetirement::retire(const std::string& model,
                                                       tvdiag::util::diagnostics& diagnostics) {
    if (!isOpen()) {
        diagnostics.add("scm:notOpen", "cannot change the registry: it could not be opened: " + openError_);
        return {};
    }
    Found found;
    const auto work = [&](tvdiag::util::diagnostics& inner) {
        retireFromUtilities(model, found, inner);
        if (inner.empty()) findUnneeded(model, found, inner);
        if (mode_ != Mode::RetireAndPrune) return;
        for (const vrex::ObjectRef& object : found.prunable) {
            if (inner.empty()) repository_.deleteObject(object, inner);
        }
        found.outcome.pruned = inner.empty() ? found.prunable.size() : 0;
    };
    if (mode_ == Mode::DryRun) {
        repository_.performDictionaryRead(work, diagnostics);
    } else {
        repository_.performDictionaryFunction(work, diagnostics);
    }
    return diagnostics.empty() ? std::move(found.outcome) : Outcome();
}

// Applies the rule to every utility that decodes; writes back the ones it changed.
void SCMModelRetirement::retireFromUtilities(const std::string& model, Found& found,
                                             tvdiag::util::diagnostics& diagnostics) {
    const SCMCategoryClasses::Category& utilities = categories_->of(SCM_UTILITIES);
    walkStoredTexts(
        repository_, utilities.entryClass, {utilities.checksum, utilities.data},
        [&](const vrex::StoredObject& stored) {
            std::unique_ptr<SCMData> data = decodeStoredText<SCMData>(stored.texts[1], "SharedCodeManager.Data");
            auto* utility = dynamic_cast<SCMBasicUtilityData*>(data.get());
            if (utility == nullptr || !diagnostics.empty()) return;
            const bool changed = utility->removeModel(model);
            if (utility->getModelNames().empty() && stored.texts[0]) {
                found.emptyUtilities.emplace(*stored.texts[0], changed);
            }
            if (!changed) return;
            found.outcome.changedUtilities.push_back(utility->getName());
            if (mode_ != Mode::DryRun) {
                repository_.setPropertyValue(stored.object, utilities.data, utility->toScriptValue(), diagnostics);
            }
        },
        diagnostics);
}

// From the provenance: which runs carried only `model`, then which entries only such runs
// offered. A utility without models is unneeded when retiring the model emptied it, or when only
// such runs offered it (its model was removed before). Only an entry whose creation a run
// recorded has the evidence to be pruned: one made before runs were recorded (or by the library)
// is listed and kept, whatever merged into it since. The provenance is read twice, so that only
// the entries of the model's runs and the empty utilities are kept in memory, not every entry
// ever offered.
void SCMModelRetirement::findUnneeded(const std::string& model, Found& found,
                                      tvdiag::util::diagnostics& diagnostics) {
    struct Evidence {
        bool recorded = false;    // a run offered it
        bool onlyByModel = true;  // every run that offered it carried only `model`
        bool created = false;     // a run recorded its creation
    };
    std::map<std::pair<std::string, std::string>, Evidence> offered;  // by (category, checksum)
    for (const auto& [checksum, emptied] : found.emptyUtilities) offered[{kUtilities, checksum}];
    if (provenance_->areStored(repository_, diagnostics)) {
        std::set<std::string> modelRuns;
        provenance_->walkRuns(
            repository_,
            [&](const SCMRun& run) {
                if (run.models == std::vector<std::string>{model}) modelRuns.insert(run.id);
            },
            diagnostics);
        if (!modelRuns.empty()) {
            provenance_->walkRunEntries(
                repository_,
                [&](const SCMRunEntry& entry) {
                    if (modelRuns.count(entry.run) > 0) offered[{entry.category, entry.checksum}];
                },
                diagnostics);
        }
        if (!offered.empty() && diagnostics.empty()) {
            provenance_->walkRunEntries(
                repository_,
                [&](const SCMRunEntry& entry) {
                    const auto evidence = offered.find({entry.category, entry.checksum});
                    if (evidence == offered.end()) return;
                    evidence->second.recorded = true;
                    evidence->second.onlyByModel = evidence->second.onlyByModel && modelRuns.count(entry.run) > 0;
                    evidence->second.created = evidence->second.created || entry.outcome == SCMRunOutcome::Created;
                },
                diagnostics);
        }
    }
    if (!diagnostics.empty()) return;
    for (const auto& [checksum, emptied] : found.emptyUtilities) {
        const Evidence& evidence = offered[{kUtilities, checksum}];
        if (emptied || (evidence.recorded && evidence.onlyByModel)) {
            addUnneeded({kUtilities, checksum, "", evidence.created}, found, diagnostics);
        }
    }
    for (const auto& [key, evidence] : offered) {
        if (evidence.recorded && evidence.onlyByModel && key.first != kUtilities) {
            addUnneeded({key.first, key.second, "", evidence.created}, found, diagnostics);
        }
    }
}

// Lists `unneeded` under the name of its stored object, which is kept for pruning when the entry
// has provenance. An entry no longer stored is left out.
void SCMModelRetirement::addUnneeded(Unneeded unneeded, Found& found,
                                     tvdiag::util::diagnostics& diagnostics) {
    const SCMCategoryClasses::Category& classes = categories_->of(unneeded.category);
    if (classes.entryClass.isNull() || !diagnostics.empty()) return;
    const std::vector<vrex::StoredObject> objects = SCMProvenanceClasses::find(
        repository_, classes.entryClass, {classes.name}, classes.checksum, unneeded.checksum, diagnostics);
    if (objects.empty()) return;
    unneeded.name = objects.front().texts[0].value_or("");
    for (const vrex::StoredObject& stored : objects) {
        if (unneeded.hasProvenance) found.prunable.push_back(stored.object);
    }
    found.outcome.unneeded.push_back(std::move(unneeded));
}

}  // namespace SCM
