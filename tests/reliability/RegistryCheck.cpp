#include "reliability/RegistryCheck.hpp"

#include "StoredObjects.hpp"
#include "vrex/DataModelRepository.hpp"
#include "vrex/Utf16.hpp"

namespace reliability {

using namespace SCM;

namespace {

class Checker {
public:
    explicit Checker(RegistryContents& contents) : contents_(contents) {}

    void checkClass(vrex::DataModelRepository& repository, const vrex::ClassRef& entryClass) {
        auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
        std::vector<vrex::ObjectRef> objects;
        repository.findObjects(entryClass, {}, objects, diagnostics);
        if (!diagnostics.empty()) {
            problem(entryClass.name() + ": " + diagnostics.toString());
            return;
        }
        auto& entries = contents_.entries[entryClass.name()];
        for (const vrex::ObjectRef& object : objects) {
            StoredEntry entry = read(repository, object, diagnostics);
            if (!diagnostics.empty()) {
                problem(entryClass.name() + ": " + diagnostics.toString());
                return;
            }
            const std::string where = entryClass.name() + " object " + std::to_string(object.id());
            if (!isSound(entry, entryClass.name(), where)) continue;
            const std::string checksum = entry.checksum;
            if (!entries.emplace(checksum, std::move(entry)).second) {
                problem(where + ": a second object with the checksum " + checksum);
            }
        }
    }

private:
    StoredEntry read(vrex::DataModelRepository& repository, const vrex::ObjectRef& object,
                     tvdiag::util::diagnostics& diagnostics) {
        const vrex::ClassRef entryClass = object.objectClass();
        StoredEntry entry;
        const qaArray checksum =
            repository.getPropertyValue(object, entryClass.findProperty("Checksum"), diagnostics);
        if (checksum.kind() == qaArray::Kind::Char) entry.checksum = checksum.text();
        entry.identity = takeStoredIdentity(
            repository.getPropertyValue(object, entryClass.findProperty("Identity"), diagnostics));
        entry.data =
            takeStoredData(repository.getPropertyValue(object, entryClass.findProperty("Data"), diagnostics));
        const qaArray name = repository.getPropertyValue(object, entryClass.findProperty("Name"), diagnostics);
        name_ = name.kind() == qaArray::Kind::Char ? name.text() : std::string();
        return entry;
    }

    bool isSound(StoredEntry& entry, const std::string& className, const std::string& where) {
        if (entry.identity == nullptr) return problem(where + ": the identity does not decode");
        if (entry.data == nullptr) return problem(where + ": the record does not decode");
        if (entry.identity->getTypeString() != className) {
            return problem(where + ": an identity of " + entry.identity->getTypeString());
        }
        std::unique_ptr<SCMIdentity> recomputed(entry.identity->clone());
        if (recomputed->getChecksum() != entry.checksum || entry.identity->getChecksum() != entry.checksum) {
            return problem(where + ": the checksum " + entry.checksum + " is not its identity's " +
                           recomputed->getChecksum());
        }
        if (name_ != entry.data->getName()) return problem(where + ": the name differs from the record's");
        return true;
    }

    bool problem(const std::string& line) {
        contents_.problems.push_back(line);
        return false;
    }

    RegistryContents& contents_;
    std::string name_;  // "Name" of the object read last
};

}  // namespace

std::size_t RegistryContents::count(SCMTypes type) const {
    auto found = entries.find(scmTypeToString(type));
    return found == entries.end() ? 0 : found->second.size();
}

const SCMData* RegistryContents::find(SCMIdentity& identity) const {
    auto category = entries.find(identity.getTypeString());
    if (category == entries.end()) return nullptr;
    auto entry = category->second.find(identity.getChecksum());
    return entry == category->second.end() ? nullptr : entry->second.data.get();
}

RegistryContents checkRegistry(const std::string& file) {
    HxInitialize_shared_code_manager();  // the stored objects' classes must be known
    RegistryContents contents;
    vrex::DataModelRepository repository;
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository.open(vrex::toUtf16(file), vrex::toUtf16(getMetaModelFile()),
                    vrex::DataModelRepository::defaultOptions(), diagnostics);
    if (!diagnostics.empty()) {
        contents.problems.push_back("cannot open: " + diagnostics.toString());
        return contents;
    }
    contents.opened = true;
    const vrex::PackageRef package = repository.metamodel(diagnostics).findPackage("SCM");
    Checker checker(contents);
    for (const vrex::ClassRef& entryClass : package.classes()) checker.checkClass(repository, entryClass);
    return contents;
}

}  // namespace reliability
