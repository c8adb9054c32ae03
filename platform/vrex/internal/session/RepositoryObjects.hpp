#pragma once

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kobj/qaArray.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/MatchConstraints.hpp"
#include "vrex/ObjectCodec.hpp"
#include "vrex/ObjectRef.hpp"
#include "vrex/PropertyRef.hpp"
#include "vrex/StoredObject.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/session/Driver.hpp"
#include "vrex/internal/session/PendingObject.hpp"
#include "vrex/internal/session/TransactionState.hpp"
#include "vrex/internal/session/TransactionWork.hpp"

namespace vrex::internal {

// The objects of an open repository: creating, finding, reading, writing and deleting them,
// with the rules for refs, values and read-only registries. Inside a write transaction a new
// object stays pending and new ids are handed out without asking the engine; TransactionState
// writes or forgets that work (TransactionWork). The operations are DataModelRepository's, with
// the same contracts, on an open registry. Refers to the driver, the metamodel and the
// transaction state; all must outlive it.
class RepositoryObjects : public TransactionWork {
public:
    RepositoryObjects(Driver& driver, const Metamodel& metamodel, TransactionState& transactions,
                      std::shared_ptr<const ObjectCodec> codec);
    RepositoryObjects(const RepositoryObjects&) = delete;
    RepositoryObjects& operator=(const RepositoryObjects&) = delete;

    ObjectRef createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);
    void prepareLookUps(const ClassRef& cls, const PropertyRef& property, const std::vector<std::string>& values,
                        tvdiag::util::diagnostics& diagnostics);
    void findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                     std::vector<ObjectRef>& result, tvdiag::util::diagnostics& diagnostics);
    void setPropertyValue(const ObjectRef& object, const PropertyRef& property, const qaArray& value,
                          tvdiag::util::diagnostics& diagnostics);
    qaArray getPropertyValue(const ObjectRef& object, const PropertyRef& property,
                             tvdiag::util::diagnostics& diagnostics);
    bool readFirstMatch(const ClassRef& cls, const PropertyRef& key, const std::string& value,
                        const PropertyRef& property, std::optional<std::string>& text,
                        tvdiag::util::diagnostics& diagnostics);
    std::int64_t largestObjectId(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);
    void findRepeatedValues(const ClassRef& cls, const PropertyRef& property, std::vector<std::string>& values,
                            tvdiag::util::diagnostics& diagnostics);
    void readStoredTexts(const ClassRef& cls, const std::vector<PropertyRef>& properties, std::int64_t afterId,
                         std::size_t limit, std::vector<StoredObject>& result,
                         tvdiag::util::diagnostics& diagnostics);
    void deleteObject(const ObjectRef& object, tvdiag::util::diagnostics& diagnostics);

    bool write(tvdiag::util::diagnostics& diagnostics, const char* identifier, const char* action) override;
    // Next ids are known only within one write transaction in which nothing was undone.
    void forgetIds() override;
    void discard() override;

private:
    // The metamodel part a ref stands for, or null with a diagnostic when the ref is null or
    // belongs to another metamodel; the message says "cannot <action><actionObject>: ...".
    const ClassInfo* classOf(const ClassRef& cls, const char* action,
                             tvdiag::util::diagnostics& diagnostics, const char* actionObject = "") const;
    const PropertyInfo* propertyOf(const ObjectRef& object, const PropertyRef& property,
                                   const char* action, tvdiag::util::diagnostics& diagnostics) const;
    void reportReadOnly(const std::string& action, tvdiag::util::diagnostics& diagnostics) const;
    bool nextObjectId(const ClassInfo& cls, std::int64_t& id, tvdiag::util::diagnostics& diagnostics);
    bool writePendingObject(tvdiag::util::diagnostics& diagnostics,
                            const char* identifier = "vrex:object:createFailed",
                            const char* action = nullptr);
    bool checkConstraints(const ClassInfo& cls, const MatchConstraints& constraints,
                          tvdiag::util::diagnostics& diagnostics) const;
    // The text to store for `value` (nullopt: unset), or false with a diagnostic.
    bool storedText(const PropertyInfo& property, const qaArray& value,
                    std::optional<std::string>& text, tvdiag::util::diagnostics& diagnostics) const;
    // The stored text of one property of `object` (nullopt: unset); false with a diagnostic.
    bool readStoredText(const ObjectRef& object, const PropertyInfo& property,
                        std::optional<std::string>& text, tvdiag::util::diagnostics& diagnostics);
    qaArray decodeObject(const PropertyInfo& property, const std::string& text,
                         tvdiag::util::diagnostics& diagnostics) const;
    std::string describe(const ObjectRef& object, const PropertyInfo& property) const;

    Driver& driver_;
    const Metamodel& metamodel_;
    TransactionState& transactions_;
    std::shared_ptr<const ObjectCodec> codec_;  // null: object properties cannot be used
    PendingObject pending_;  // a created object whose row is not written yet
    std::vector<std::int64_t> nextIds_;  // by ClassInfo::index: the next new object's id, 0: unknown
};

}  // namespace vrex::internal
