#include "SCMRegistryInspector.hpp"

#include "RegistryDictionary.hpp"
#include "SCMCategoryClasses.hpp"
#include "SCMEntryCheck.hpp"
#include "SCMProvenanceClasses.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "StoredObjects.hpp"

namespace SCM {

namespace {

constexpr SCMTypes kAllTypes[] = {SCM_UTILITIES, SCM_SHARED_FUNCTIONS, SCM_SHARED_TYPES, SCM_OTHER,
                                  SCM_NUM,       SCM_SHARED_DATA,      SCM_SHARED_CONSTANTS};

vrex::DataModelRepository::Options optionsFor(SCMRegistryInspector::Access access) {
    vrex::DataModelRepository::Options options = vrex::DataModelRepository::defaultOptions();
    options.readOnly = access == SCMRegistryInspector::Access::Read;
    options.requireWrite = access == SCMRegistryInspector::Access::Repair;
    return options;
}

}  // namespace

SCMRegistryInspector::SCMRegistryInspector(const std::string& registry, Access access)
    : categories_(openRegistryDictionary(repository_, registry, getMetaModelFile(),
                                         optionsFor(access), openError_)) {}

SCMRegistryInspector::~SCMRegistryInspector() = default;

bool SCMRegistryInspector::isOpen() const { return categories_ != nullptr; }

const std::string& SCMRegistryInspector::getOpenError() const { return openError_; }

bool SCMRegistryInspector::requireOpen(const char* action,
                                       tvdiag::util::diagnostics& diagnostics) const {
    if (isOpen()) return true;
    diagnostics.add("scm:notOpen", std::string("cannot ") + action +
                                       " the registry: it could not be opened: " + openError_);
    return false;
}

// The decoded "Identity" and "Data" of one dictionary object, owned by the caller; either is
// null when it does not decode. Unspecified on a read error, which stays in `diagnostics`.
SCMRegistryInspector::StoredEntry SCMRegistryInspector::readEntry(
    const vrex::ObjectRef& entry, tvdiag::util::diagnostics& diagnostics) {
    const SCMCategoryClasses::Category& category = categories_->of(entry.objectClass().name());
    return {takeStoredIdentity(repository_.getPropertyValue(entry, category.identity, diagnostics)),
            takeStoredData(repository_.getPropertyValue(entry, category.data, diagnostics))};
}

// Reads the stored texts a page at a time (one round trip for a few thousand entries on a
// server) and decodes them here.
std::size_t SCMRegistryInspector::visitEntries(SCMTypes type, const EntryVisitor& visit,
                                             tvdiag::util::diagnostics& diagnostics) {
    if (!requireOpen("read", diagnostics)) return 0;
    std::size_t visited = 0;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            walkStoredTexts(repository_, category.entryClass, {category.identity, category.data},
                            [&](const vrex::DataModelRepository::StoredObject& stored) {
                                StoredEntry entry{
                                    decodeStoredText<SCMIdentity>(stored.texts[0],
                                                                  "SharedCodeManager.Identity"),
                                    decodeStoredText<SCMData>(stored.texts[1],
                                                              "SharedCodeManager.Data")};
                                ++visited;
                                visit(entry);
                            },
                            reading);
        },
        diagnostics);
    return visited;
}

// The few entries of one key or name are found first, then read one by one.
std::size_t SCMRegistryInspector::visitEntries(SCMTypes type, EntryKey key, const std::string& value,
                                             const EntryVisitor& visit,
                                             tvdiag::util::diagnostics& diagnostics) {
    if (!requireOpen("read", diagnostics)) return 0;
    const SCMCategoryClasses::Category& category = categories_->of(type);
    vrex::MatchConstraints constraints;
    constraints.add(key == EntryKey::Checksum ? category.checksum : category.name,
                    vrex::PropertyValueMatchRelation::Equals, value);
    std::size_t visited = 0;
    repository_.performDictionaryRead(
        [&](tvdiag::util::diagnostics& reading) {
            std::vector<vrex::ObjectRef> objects;
            repository_.findObjects(category.entryClass, constraints, objects, reading);
            for (const vrex::ObjectRef& object : objects) {
                if (!reading.empty()) return;
                StoredEntry entry = readEntry(object, reading);
                if (!reading.empty()) return;
                ++visited;
                visit(entry);
            }
        },
        diagnostics);
    return visited;
}

std::uint64_t SCMRegistryInspector::estimateEntries() {
    if (!isOpen()) return 0;
    std::uint64_t estimate = 0;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    for (SCMTypes type : kAllTypes) {
        const vrex::ClassRef& entryClass = categories_->of(type).entryClass;
        if (entryClass.isNull()) continue;
        const std::int64_t largest = repository_.largestObjectId(entryClass, diagnostics);
        if (!diagnostics.empty()) return 0;
        estimate += static_cast<std::uint64_t>(largest);
    }
    return estimate;
}

std::vector<SCMIdentityDataPair> SCMRegistryInspector::getAllEntries(SCMTypes type) {
    std::vector<SCMIdentityDataPair> entries;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    visitEntries(
        type,
        [&entries](StoredEntry& entry) {
            if (entry.identity == nullptr || entry.data == nullptr) return;
            entries.emplace_back(nullptr, nullptr);  // nothing throws once the objects are released
            entries.back() = {entry.identity.release(), entry.data.release()};
        },
        diagnostics);
    return entries;
}

namespace {

// Whether a finding of the structure check is about the table of `className` ("the column of
// SCM_UTILITIES.Name is missing", "the table of SCM_UTILITIES has no primary key").
bool namesTable(const tvdiag::util::diagnostics& findings, const std::string& className) {
    for (const tvdiag::util::diagnostic& record : findings.records()) {
        for (const char* after : {".", " "}) {
            if (record.message.find("of " + className + after) != std::string::npos) return true;
        }
    }
    return false;
}

// The storage finds the few checksums held more than once (from its index, in constant memory);
// only their objects are looked up.
void checkDuplicates(vrex::DataModelRepository& repository, const SCMCategoryClasses::Category& category,
                     SCMEntryCheck& check, tvdiag::util::diagnostics& diagnostics) {
    std::vector<std::string> repeated;
    repository.findRepeatedValues(category.entryClass, category.checksum, repeated, diagnostics);
    for (const std::string& checksum : repeated) {
        vrex::MatchConstraints constraints;
        constraints.add(category.checksum, vrex::PropertyValueMatchRelation::Equals, checksum);
        std::vector<vrex::ObjectRef> sameChecksum;
        repository.findObjects(category.entryClass, constraints, sameChecksum, diagnostics);
        if (!diagnostics.empty()) return;
        check.reportDuplicates(sameChecksum, checksum);
    }
}

}  // namespace

// A category that cannot be read is a storage error, which ends the check, unless the structure
// check has already found its table damaged or lacking parts: then it is one more problem.
std::size_t SCMRegistryInspector::checkEntries(tvdiag::util::diagnostics& problems,
                                             tvdiag::util::diagnostics& diagnostics,
                                             const CheckProgress& checked, Depth depth) {
    if (!requireOpen("check", diagnostics)) return 0;
    auto structure = tvdiag::util::diagnostics::getEmptyInstance();
    repository_.checkIntegrity(structure, depth == Depth::Full ? vrex::DataModelRepository::IntegrityScope::Full
                                                               : vrex::DataModelRepository::IntegrityScope::Schema);
    for (const tvdiag::util::diagnostic& record : structure.records()) {
        if (record.identifier == "vrex:integrity:missing" && SCMProvenanceClasses::isMissingPart(record.message)) continue;
        (record.identifier == "vrex:integrity:failed" ? diagnostics : problems).add(record.identifier, record.message);
    }
    if (!diagnostics.empty()) return 0;
    std::size_t entries = 0;
    for (SCMTypes type : kAllTypes) {
        const vrex::ClassRef& entryClass = categories_->of(type).entryClass;
        if (entryClass.isNull()) continue;
        SCMEntryCheck check(entryClass, problems);
        auto reading = tvdiag::util::diagnostics::getEmptyInstance();
        repository_.performDictionaryRead(
            [&](tvdiag::util::diagnostics& inner) {
                walkStoredTexts(repository_, entryClass, check.properties(),
                                [&](const vrex::DataModelRepository::StoredObject& stored) {
                                    ++entries;
                                    check.check(stored);
                                    if (checked) checked(entries);
                                },
                                inner);
                if (inner.empty()) checkDuplicates(repository_, categories_->of(type), check, inner);
            },
            reading);
        if (reading.empty()) continue;
        if (!namesTable(structure, entryClass.name())) {
            for (const tvdiag::util::diagnostic& record : reading.records()) diagnostics.add(record.identifier, record.message);
            return entries;
        }
        problems.add("scm:check:unreadable", "the entries of " + entryClass.name() + " cannot be read: " + reading.messages());
    }
    return entries;
}

std::size_t SCMRegistryInspector::countRepairable(const tvdiag::util::diagnostics& problems) {
    std::size_t repairable = 0;
    for (const tvdiag::util::diagnostic& record : problems.records()) {
        if (record.identifier == "scm:check:torn" || record.identifier == "vrex:integrity:missing") ++repairable;
    }
    return repairable;
}

std::size_t SCMRegistryInspector::deleteTornEntries(tvdiag::util::diagnostics& diagnostics) {
    if (!requireOpen("repair", diagnostics)) return 0;
    std::size_t deleted = 0;
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) {
            deleted = 0;  // a run again after a deadlock counts anew
            for (SCMTypes type : kAllTypes) {
                const SCMCategoryClasses::Category& category = categories_->of(type);
                if (category.entryClass.isNull()) continue;
                walkStoredTexts(repository_, category.entryClass, {category.identity, category.data},
                                [&](const vrex::DataModelRepository::StoredObject& stored) {
                                    if (stored.texts[0] && stored.texts[1]) return;
                                    repository_.deleteObject(stored.object, inner);
                                    ++deleted;
                                },
                                inner);
                if (!inner.empty()) return;
            }
        },
        diagnostics);
    return diagnostics.empty() ? deleted : 0;
}

}  // namespace SCM
