#pragma once

#include <cstddef>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

// The per-entry checks of SCMVrexDataAdapter::checkEntries, one category's dictionary class at a
// time. Reads only; every problem found becomes a record of the problems list given at
// construction, which must outlive this object, as must the repository.
class SCMEntryCheck {
public:
    SCMEntryCheck(vrex::DataModelRepository& repository, tvdiag::util::diagnostics& problems);

    // Checks `objects`, every dictionary object of `entryClass` (the class named after one
    // category), and returns how many there were.
    std::size_t checkCategory(const vrex::ClassRef& entryClass,
                              const std::vector<vrex::ObjectRef>& objects);

private:
    // The stored texts of one object, read before anything is decoded.
    struct StoredTexts {
        std::optional<std::string> checksum;
        std::optional<std::string> name;
        std::optional<std::string> identity;
        std::optional<std::string> data;
    };

    bool readTexts(const vrex::ObjectRef& object, StoredTexts& texts);
    template <typename T>
    std::unique_ptr<T> readStored(const vrex::ObjectRef& object, const StoredTexts& texts,
                                  const std::optional<std::string>& text, const char* property,
                                  const char* className);
    void checkIdentity(const vrex::ObjectRef& object, const StoredTexts& texts);
    void checkData(const vrex::ObjectRef& object, const StoredTexts& texts);
    // "SCM_SHARED_TYPES object 7 (checksum "...")": how messages name an entry.
    std::string describe(const vrex::ObjectRef& object, const StoredTexts& texts) const;
    void report(const char* identifier, const std::string& message);

    vrex::DataModelRepository& repository_;
    tvdiag::util::diagnostics& problems_;
};

}  // namespace SCM
