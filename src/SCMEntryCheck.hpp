#pragma once

#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

// The per-entry checks of SCMRegistryInspector::checkEntries for one category's dictionary class,
// on the stored texts of its objects as DataModelRepository::readStoredTexts reads them, object
// after object. Reads nothing itself; every problem found becomes a record of the problems list
// given at construction, which must outlive this object.
class SCMEntryCheck {
public:
    SCMEntryCheck(const vrex::ClassRef& entryClass, tvdiag::util::diagnostics& problems);

    // The properties whose stored texts check() takes, in that order.
    const std::vector<vrex::PropertyRef>& properties() const { return properties_; }
    // Checks one object of the class, read with properties().
    void check(const vrex::DataModelRepository::StoredObject& stored);
    // Reports each of `sameChecksum` (objects of the class that share `checksum`, ascending by id)
    // but the first as having the first one's checksum.
    void reportDuplicates(const std::vector<vrex::ObjectRef>& sameChecksum, const std::string& checksum);

private:
    // The stored texts of one object, still owned by its StoredObject.
    struct StoredTexts {
        const std::optional<std::string>& checksum;
        const std::optional<std::string>& name;  // unset when the class has no Name
        const std::optional<std::string>& identity;
        const std::optional<std::string>& data;
    };

    StoredTexts textsOf(const vrex::DataModelRepository::StoredObject& stored) const;
    template <typename T>
    std::unique_ptr<T> decode(const vrex::ObjectRef& object, const StoredTexts& texts, const std::string& text,
                              const char* property, const char* className);
    void checkIdentity(const vrex::ObjectRef& object, const StoredTexts& texts);
    void checkData(const vrex::ObjectRef& object, const StoredTexts& texts);
    // "SCM_SHARED_TYPES object 7 (checksum "...")": how messages name an entry.
    std::string describe(const vrex::ObjectRef& object, const std::optional<std::string>& checksum) const;
    void report(const char* identifier, const std::string& message);

    vrex::ClassRef entryClass_;
    bool hasName_;
    std::vector<vrex::PropertyRef> properties_;  // Checksum, Identity, Data, then Name if declared
    tvdiag::util::diagnostics& problems_;
};

}  // namespace SCM
