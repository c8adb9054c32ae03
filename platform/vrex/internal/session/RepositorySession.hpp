#pragma once

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kobj/qaArray.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/RepositoryOptions.hpp"
#include "vrex/StoredObject.hpp"
#include "vrex/internal/session/Driver.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"
#include "vrex/internal/session/PendingObject.hpp"

namespace vrex::internal {

// An open repository: its storage driver, its metamodel and its transaction state.
// DataModelRepository holds one while open; the operations below are DataModelRepository's, with
// the same contracts, on an open registry. The rules live here; the driver runs the statements.
class RepositorySession {
public:
    using Options = RepositoryOptions;

    // Takes over `driver`, open on a registry made ready for `metamodel`.
    RepositorySession(std::unique_ptr<Driver> driver, std::shared_ptr<const Metamodel> metamodel,
                      const Options& options);
    ~RepositorySession();
    RepositorySession(const RepositorySession&) = delete;
    RepositorySession& operator=(const RepositorySession&) = delete;

    const std::string& file() const { return driver_->location(); }
    const std::shared_ptr<const Metamodel>& metamodel() const { return metamodel_; }
    bool isClosed() const { return !driver_->isOpen(); }
    // Rolls back what is open and closes the file.
    void close();

    void beginTransaction(tvdiag::util::diagnostics& diagnostics);
    void commitTransaction(tvdiag::util::diagnostics& diagnostics);
    void rollbackTransaction(tvdiag::util::diagnostics& diagnostics);
    bool isTransactionOpen() const;
    void performDictionaryFunction(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                                   tvdiag::util::diagnostics& diagnostics);

    void performDictionaryRead(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                               tvdiag::util::diagnostics& diagnostics);

    ObjectRef createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);
    void findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                     std::vector<ObjectRef>& result, tvdiag::util::diagnostics& diagnostics);
    void setPropertyValue(const ObjectRef& object, const PropertyRef& property, const qaArray& value,
                          tvdiag::util::diagnostics& diagnostics);
    qaArray getPropertyValue(const ObjectRef& object, const PropertyRef& property,
                             tvdiag::util::diagnostics& diagnostics);
    std::optional<std::string> getStoredText(const ObjectRef& object, const PropertyRef& property,
                                             tvdiag::util::diagnostics& diagnostics);
    void readStoredTexts(const ClassRef& cls, const std::vector<PropertyRef>& properties, std::int64_t afterId,
                         std::size_t limit, std::vector<StoredObject>& result,
                         tvdiag::util::diagnostics& diagnostics);
    void deleteObject(const ObjectRef& object, tvdiag::util::diagnostics& diagnostics);
    void checkIntegrity(tvdiag::util::diagnostics& diagnostics);

private:
    // Reports a failed driver call under `identifier` unless it succeeded; returns `succeeded`.
    bool check(bool succeeded, const char* identifier, const std::string& action,
               tvdiag::util::diagnostics& diagnostics) const;
    void endTransaction(bool commit, tvdiag::util::diagnostics& diagnostics);
    void leaveFunction(bool nested, const std::string& savepoint, bool keep,
                       tvdiag::util::diagnostics& diagnostics);
    // Forgets an explicit transaction that the engine has rolled back by itself.
    void syncTransactionState();
    bool refuseInsideFunction(const char* action, tvdiag::util::diagnostics& diagnostics) const;
    bool transactionLost() const;
    // Reports "cannot <action>" when the transaction is lost (vrex:transaction:lost); then
    // nothing may touch the engine until the transaction is ended.
    bool refuseLostTransaction(const std::string& action, tvdiag::util::diagnostics& diagnostics) const;

    // The metamodel part a ref stands for, or null with a diagnostic when the ref is null or
    // belongs to another metamodel; the message says "cannot <action><actionObject>: ...".
    const ClassInfo* classOf(const ClassRef& cls, const char* action,
                             tvdiag::util::diagnostics& diagnostics, const char* actionObject = "") const;
    const PropertyInfo* propertyOf(const ObjectRef& object, const PropertyRef& property,
                                   const char* action, tvdiag::util::diagnostics& diagnostics) const;
    void reportReadOnly(const std::string& action, tvdiag::util::diagnostics& diagnostics) const;
    bool nextObjectId(const ClassInfo& cls, std::int64_t& id, tvdiag::util::diagnostics& diagnostics);
    bool holdsWriteLock() const;
    void forgetNextIds();
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

    std::shared_ptr<const Metamodel> metamodel_;  // before the driver: it may refer to it
    std::unique_ptr<Driver> driver_;
    Options options_;
    bool explicitTransaction_ = false;
    int functionDepth_ = 0;  // dictionary functions running, outermost first
    PendingObject pending_;  // a created object whose row is not written yet
    std::vector<std::int64_t> nextIds_;  // by ClassInfo::index: the next new object's id, 0: unknown
};

}  // namespace vrex::internal
