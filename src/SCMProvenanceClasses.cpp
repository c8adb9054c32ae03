#include "SCMProvenanceClasses.hpp"

#include <sstream>

#include "SCMRunEntryBlock.hpp"
#include "StoredObjects.hpp"

namespace SCM {

namespace {

const char* const kPackage = "SCM_PROVENANCE";
const char* const kRunClass = "SCM_RUNS";
const char* const kEntryClass = "SCM_RUN_ENTRIES";

const char* const kRunProperties[] = {"Run",       "Started", "Ended",  "Host",
                                      "User",      "Manifests", "Models", "Counts"};
// A row holds either a block of entries (Bucket and Entries set) or, written before entries were
// recorded in blocks, one entry (Checksum, Outcome and Differences set).
const char* const kEntryProperties[] = {"Run",         "Category", "Checksum", "Outcome",
                                        "Differences", "Bucket",   "Entries"};

template <std::size_t N>
std::vector<vrex::PropertyRef> propertiesOf(const vrex::ClassRef& cls, const char* const (&names)[N]) {
    std::vector<vrex::PropertyRef> properties;
    for (const char* name : names) properties.push_back(cls.findProperty(name));
    return properties;
}

std::string lines(const std::vector<std::string>& items) {
    std::string text;
    for (std::size_t i = 0; i < items.size(); ++i) text += (i == 0 ? "" : "\n") + items[i];
    return text;
}

std::vector<std::string> linesOf(const std::optional<std::string>& text) {
    std::vector<std::string> items;
    if (!text || text->empty()) return items;
    std::istringstream in(*text);
    for (std::string item; std::getline(in, item);) items.push_back(item);
    return items;
}

std::string textOf(const std::optional<std::string>& text) { return text.value_or(std::string()); }

std::string countsText(const SCMRunCounts& counts) {
    return std::to_string(counts.registered) + " " + std::to_string(counts.merged) + " " +
           std::to_string(counts.unchanged) + " " + std::to_string(counts.clashes) + " " +
           std::to_string(counts.errors);
}

SCMRunCounts countsOf(const std::optional<std::string>& text) {
    SCMRunCounts counts;
    std::istringstream in(textOf(text));
    in >> counts.registered >> counts.merged >> counts.unchanged >> counts.clashes >> counts.errors;
    return counts;
}

}  // namespace

SCMProvenanceClasses::SCMProvenanceClasses(const vrex::DataModelRepository& repository) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const vrex::PackageRef package = repository.metamodel(diagnostics).findPackage(kPackage);
    runClass_ = package.findClass(kRunClass);
    entryClass_ = package.findClass(kEntryClass);
    runProperties_ = propertiesOf(runClass_, kRunProperties);
    entryProperties_ = propertiesOf(entryClass_, kEntryProperties);
}

bool SCMProvenanceClasses::isMissingPart(const std::string& finding) {
    for (const char* name : {kRunClass, kEntryClass}) {
        if (finding.find("of " + std::string(name) + " is missing") != std::string::npos ||
            finding.find("of " + std::string(name) + ".") != std::string::npos) {
            return true;
        }
    }
    return false;
}

bool SCMProvenanceClasses::areStored(vrex::DataModelRepository& repository,
                                     tvdiag::util::diagnostics& diagnostics) const {
    return !runClass_.isNull() && !entryClass_.isNull() &&
           repository.holdsClass(runClass_, diagnostics) &&
           repository.holdsClass(entryClass_, diagnostics);
}

SCMProvenanceClasses::Texts SCMProvenanceClasses::runTexts(const SCMRun& run) {
    return {run.id,   run.started,          run.ended,         run.host,
            run.user, lines(run.manifests), lines(run.models), countsText(run.counts)};
}

SCMRun SCMProvenanceClasses::runOf(const Texts& texts) {
    SCMRun run;
    run.id = textOf(texts[0]);
    run.started = textOf(texts[1]);
    run.ended = textOf(texts[2]);
    run.host = textOf(texts[3]);
    run.user = textOf(texts[4]);
    run.manifests = linesOf(texts[5]);
    run.models = linesOf(texts[6]);
    run.counts = countsOf(texts[7]);
    return run;
}

SCMProvenanceClasses::Texts SCMProvenanceClasses::blockTexts(const std::string& run, const std::string& category,
                                                             unsigned bucket, std::string entries) {
    return {run, category, std::nullopt, std::nullopt, std::nullopt, std::to_string(bucket), std::move(entries)};
}

bool SCMProvenanceClasses::forEachEntryOf(const Texts& texts,
                                          const std::function<void(const SCMRunEntry&)>& visit) {
    if (texts[6]) return SCMRunEntryBlock::forEachEntry(*texts[6], textOf(texts[0]), textOf(texts[1]), visit);
    SCMRunEntry entry;
    entry.run = textOf(texts[0]);
    entry.category = textOf(texts[1]);
    entry.checksum = textOf(texts[2]);
    entry.differences = linesOf(texts[4]);
    if (!runOutcomeFromName(textOf(texts[3]), entry.outcome)) return false;
    visit(entry);
    return true;
}

void SCMProvenanceClasses::walkRuns(vrex::DataModelRepository& repository,
                                    const std::function<void(const SCMRun&)>& visit,
                                    tvdiag::util::diagnostics& diagnostics) const {
    walkStoredTexts(
        repository, runClass_, runProperties_,
        [&](const vrex::StoredObject& stored) { visit(runOf(stored.texts)); }, diagnostics);
}

void SCMProvenanceClasses::walkRunEntries(vrex::DataModelRepository& repository,
                                          const std::function<void(const SCMRunEntry&)>& visit,
                                          tvdiag::util::diagnostics& diagnostics) const {
    walkStoredTexts(
        repository, entryClass_, entryProperties_,
        [&](const vrex::StoredObject& stored) { forEachEntryOf(stored.texts, visit); }, diagnostics);
}

void SCMProvenanceClasses::create(vrex::DataModelRepository& repository, const vrex::ClassRef& cls,
                                  const std::vector<vrex::PropertyRef>& properties, Texts texts,
                                  tvdiag::util::diagnostics& diagnostics) {
    const vrex::ObjectRef object = repository.createObject(cls, diagnostics);
    for (std::size_t i = 0; i < properties.size() && diagnostics.empty(); ++i) {
        if (texts[i]) {
            repository.setPropertyValue(object, properties[i], qaArray::fromText(std::move(*texts[i])), diagnostics);
        }
    }
}

std::vector<vrex::StoredObject> SCMProvenanceClasses::find(
    vrex::DataModelRepository& repository, const vrex::ClassRef& cls,
    const std::vector<vrex::PropertyRef>& properties, const vrex::PropertyRef& key,
    const std::string& value, tvdiag::util::diagnostics& diagnostics) {
    vrex::MatchConstraints constraints;
    constraints.add(key, vrex::PropertyValueMatchRelation::Equals, value);
    std::vector<vrex::ObjectRef> objects;
    repository.findObjects(cls, constraints, objects, diagnostics);
    std::vector<vrex::StoredObject> found;
    std::vector<vrex::StoredObject> page;
    for (const vrex::ObjectRef& object : objects) {
        repository.readStoredTexts(cls, properties, object.id() - 1, 1, page, diagnostics);
        if (!diagnostics.empty()) return {};
        if (!page.empty()) found.push_back(std::move(page.front()));
    }
    return found;
}

}  // namespace SCM
