#include "SCMProvenanceReader.hpp"

#include "RegistryDictionary.hpp"
#include "SCMProvenanceClasses.hpp"
#include "SCMRunEntryBlock.hpp"
#include "SCMVrexDataAdapter.hpp"

namespace SCM {

SCMProvenanceReader::SCMProvenanceReader(const std::string& registry) {
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.readOnly = true;
    if (openRegistryDictionary(repository_, registry, getMetaModelFile(), options, openError_)) {
        classes_ = std::make_unique<SCMProvenanceClasses>(repository_);
    }
}

SCMProvenanceReader::~SCMProvenanceReader() = default;

bool SCMProvenanceReader::isOpen() const { return classes_ != nullptr; }

const std::string& SCMProvenanceReader::getOpenError() const { return openError_; }

bool SCMProvenanceReader::hasRuns(tvdiag::util::diagnostics& diagnostics) {
    if (!isOpen()) {
        diagnostics.add("scm:notOpen", "cannot read the registry: it could not be opened: " + openError_);
        return false;
    }
    return classes_->areStored(repository_, diagnostics);
}

void SCMProvenanceReader::visitRuns(const std::function<void(const SCMRun&)>& visit,
                                    tvdiag::util::diagnostics& diagnostics) {
    if (!hasRuns(diagnostics)) return;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) { classes_->walkRuns(repository_, visit, reading); }, diagnostics);
}

bool SCMProvenanceReader::findRun(const std::string& id, SCMRun& run,
                                  tvdiag::util::diagnostics& diagnostics) {
    if (!hasRuns(diagnostics)) return false;
    const auto found = SCMProvenanceClasses::find(repository_, classes_->runClass(),
                                                  classes_->runProperties(), classes_->runId(), id,
                                                  diagnostics);
    if (found.empty()) return false;
    run = SCMProvenanceClasses::runOf(found.front().texts);
    return true;
}

std::vector<SCMRunEntry> SCMProvenanceReader::entryHistory(const std::string& checksum,
                                                           tvdiag::util::diagnostics& diagnostics) {
    std::vector<SCMRunEntry> history;
    if (!hasRuns(diagnostics)) return history;
    const auto keep = [&](const SCMRunEntry& entry) {
        if (entry.checksum == checksum) history.push_back(entry);
    };
    // Rows of one entry came before any block: read them first.
    const std::pair<const vrex::PropertyRef*, std::string> searches[] = {
        {&classes_->entryChecksum(), checksum},
        {&classes_->entryBucket(), std::to_string(SCMRunEntryBlock::bucketOf(checksum))}};
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            for (const auto& [key, value] : searches) {
                for (const vrex::StoredObject& stored :
                     SCMProvenanceClasses::find(repository_, classes_->entryClass(),
                                                classes_->entryProperties(), *key, value, reading)) {
                    SCMProvenanceClasses::forEachEntryOf(stored.texts, keep);
                }
            }
        },
        diagnostics);
    return history;
}

void SCMProvenanceReader::visitRunEntries(const std::function<void(const SCMRunEntry&)>& visit,
                                          tvdiag::util::diagnostics& diagnostics) {
    if (!hasRuns(diagnostics)) return;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) { classes_->walkRunEntries(repository_, visit, reading); },
        diagnostics);
}

}  // namespace SCM
