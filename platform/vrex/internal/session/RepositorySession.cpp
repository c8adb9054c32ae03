#include "vrex/internal/session/RepositorySession.hpp"

#include <algorithm>
#include <exception>
#include <limits>

#include "vrex/internal/session/RefAccess.hpp"

namespace vrex::internal {

namespace {

std::string savepointName(int depth) { return "vrex_function_" + std::to_string(depth); }

}  // namespace

RepositorySession::RepositorySession(std::unique_ptr<Driver> driver,
                                     std::shared_ptr<const Metamodel> metamodel, const Options& options)
    : metamodel_(std::move(metamodel)),
      driver_(std::move(driver)),
      options_(options),
      nextIds_(metamodel_->classes().size(), 0) {}

RepositorySession::~RepositorySession() { close(); }

void RepositorySession::close() {
    if (!driver_->isOpen()) return;
    pending_.discard();
    forgetNextIds();
    explicitTransaction_ = false;
    driver_->close();
}

// --- transactions ---------------------------------------------------------------------------

void RepositorySession::beginTransaction(tvdiag::util::diagnostics& diagnostics) {
    if (refuseInsideFunction("begin a transaction", diagnostics) ||
        refuseLostTransaction("begin a transaction", diagnostics)) {
        return;
    }
    syncTransactionState();
    if (explicitTransaction_) {
        diagnostics.add("vrex:transaction:alreadyOpen",
                        "a transaction is already open on the registry \"" + file() + "\"");
        return;
    }
    if (check(driver_->beginWrite(), "vrex:transaction:beginFailed", "cannot begin a transaction",
              diagnostics)) {
        explicitTransaction_ = true;
        forgetNextIds();  // other processes may have written since the last transaction
    }
}

void RepositorySession::commitTransaction(tvdiag::util::diagnostics& diagnostics) {
    endTransaction(true, diagnostics);
}

void RepositorySession::rollbackTransaction(tvdiag::util::diagnostics& diagnostics) {
    endTransaction(false, diagnostics);
}

// Commits or rolls back the explicit transaction. After a failure it stays open only if the engine
// kept it; a pending object that cannot be written fails the commit before it is tried.
void RepositorySession::endTransaction(bool commit, tvdiag::util::diagnostics& diagnostics) {
    const char* action = commit ? "commit" : "roll back";
    if (refuseInsideFunction(action, diagnostics)) return;
    if (transactionLost()) {  // nothing is left to commit; a rollback is already done
        if (commit) refuseLostTransaction("commit", diagnostics);
        explicitTransaction_ = false;
        pending_.discard();
        forgetNextIds();
        return;
    }
    syncTransactionState();
    if (!explicitTransaction_) {
        diagnostics.add("vrex:transaction:notOpen", std::string("no transaction is open to ") + action +
                                                        " on the registry \"" + file() + "\"");
        return;
    }
    forgetNextIds();
    if (!commit) {
        pending_.discard();
    } else if (!writePendingObject(diagnostics, "vrex:transaction:commitFailed", "cannot commit")) {
        explicitTransaction_ = driver_->isInTransaction();
        return;
    }
    check(commit ? driver_->commit() : driver_->rollback(),
          commit ? "vrex:transaction:commitFailed" : "vrex:transaction:rollbackFailed",
          std::string("cannot ") + action, diagnostics);
    explicitTransaction_ = driver_->isInTransaction();
}

bool RepositorySession::isTransactionOpen() const {
    return explicitTransaction_ && driver_->isInTransaction();
}

void RepositorySession::performDictionaryFunction(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    if (refuseLostTransaction("run a dictionary function", diagnostics)) return;
    syncTransactionState();
    if (!writePendingObject(diagnostics)) return;  // it belongs to the enclosing transaction
    const bool nested = explicitTransaction_ || functionDepth_ > 0;
    const std::string savepoint = savepointName(functionDepth_ + 1);
    const bool begun = nested ? driver_->savepoint(savepoint) : driver_->beginWrite();
    if (!check(begun, "vrex:function:beginFailed", "cannot begin a dictionary function", diagnostics)) {
        return;
    }
    if (!nested) forgetNextIds();
    ++functionDepth_;
    try {
        fn(diagnostics);
    } catch (...) {
        tvdiag::util::diagnostics ignored;
        if (!isClosed()) leaveFunction(nested, savepoint, false, ignored);
        throw;
    }
    if (isClosed()) {
        diagnostics.add("vrex:function:closed",
                        "the registry \"" + file() + "\" was closed inside a dictionary function");
        return;
    }
    leaveFunction(nested, savepoint, diagnostics.empty(), diagnostics);
}

// Ending a read loses nothing, so its errors are not fn's and go unreported.
void RepositorySession::performDictionaryRead(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    if (refuseLostTransaction("read", diagnostics)) return;
    syncTransactionState();
    if (driver_->isInTransaction()) return fn(diagnostics);
    if (!check(driver_->beginRead(), "vrex:read:beginFailed", "cannot begin reading", diagnostics)) return;
    try {
        fn(diagnostics);
    } catch (...) {
        if (!isClosed() && driver_->isInTransaction()) driver_->commit();
        throw;
    }
    if (!isClosed() && driver_->isInTransaction()) driver_->commit();
}

// Ends a dictionary function: its work is kept (released or committed) or undone.
void RepositorySession::leaveFunction(bool nested, const std::string& savepoint, bool keep,
                                      tvdiag::util::diagnostics& diagnostics) {
    if (keep && !transactionLost() && !writePendingObject(diagnostics)) keep = false;
    if (!keep) {
        pending_.discard();
        forgetNextIds();  // undone rows give their ids back
    }
    --functionDepth_;
    if (!driver_->isInTransaction()) {
        // The engine rolled everything back itself after an I/O error, a full disk, a lost
        // connection or the like. An explicit transaction stays lost until it is ended.
        if (keep) {
            driver_->report(diagnostics, "vrex:function:rolledBack",
                            "the transaction was rolled back, nothing of it is kept");
        }
        return;
    }
    tvdiag::util::diagnostics undoErrors;  // a failed undo leaves the caller's errors as they are
    if (nested) {
        if (!keep) {
            check(driver_->rollbackToSavepoint(savepoint), "vrex:function:rollbackFailed", "cannot undo",
                  undoErrors);
        }
        check(driver_->releaseSavepoint(savepoint), "vrex:function:commitFailed", "cannot end a savepoint",
              keep ? diagnostics : undoErrors);
    } else if (!keep) {
        check(driver_->rollback(), "vrex:function:rollbackFailed", "cannot roll back", undoErrors);
    } else if (!check(driver_->commit(), "vrex:function:commitFailed", "cannot commit", diagnostics) &&
               driver_->isInTransaction()) {
        check(driver_->rollback(), "vrex:function:rollbackFailed", "cannot roll back", undoErrors);
    }
}

void RepositorySession::syncTransactionState() {
    if (!driver_->isInTransaction()) {  // rolled back with its transaction
        pending_.discard();
        forgetNextIds();
    }
}

// An explicit transaction or a running dictionary function that the engine has ended behind the
// session's back: a lost connection, or an error after which the engine rolled everything back.
bool RepositorySession::transactionLost() const {
    return (explicitTransaction_ || functionDepth_ > 0) && !driver_->isInTransaction();
}

bool RepositorySession::refuseLostTransaction(const std::string& action,
                                              tvdiag::util::diagnostics& diagnostics) const {
    if (!transactionLost()) return false;
    driver_->report(diagnostics, "vrex:transaction:lost",
                    "cannot " + action + ": the transaction was lost and nothing of it is kept");
    return true;
}

bool RepositorySession::refuseInsideFunction(const char* action,
                                             tvdiag::util::diagnostics& diagnostics) const {
    if (functionDepth_ == 0) return false;
    diagnostics.add("vrex:transaction:insideFunction",
                    std::string("cannot ") + action + " inside a dictionary function on the registry \"" +
                        file() + "\"");
    return true;
}

bool RepositorySession::check(bool succeeded, const char* identifier, const std::string& action,
                              tvdiag::util::diagnostics& diagnostics) const {
    if (!succeeded) driver_->report(diagnostics, identifier, action);
    return succeeded;
}

// --- objects --------------------------------------------------------------------------------

// Inside a transaction the new object stays pending (see PendingObject): its row is written
// with all its properties when anything else needs the file.
ObjectRef RepositorySession::createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(cls, "create an object", diagnostics);
    if (info == nullptr) return ObjectRef();
    if (driver_->isReadOnly()) {
        reportReadOnly("create an object of " + info->name, diagnostics);
        return ObjectRef();
    }
    if (!writePendingObject(diagnostics)) return ObjectRef();
    if (holdsWriteLock()) {
        std::int64_t id = 0;
        if (!nextObjectId(*info, id, diagnostics)) return ObjectRef();
        if (id > 0) {
            pending_.start(*info, id);
            return RefAccess::object(cls, id);
        }
    }
    std::int64_t id = 0;
    if (!check(driver_->insertObject(*info, id), "vrex:object:createFailed",
               "cannot create an object of " + info->name, diagnostics)) {
        return ObjectRef();
    }
    return RefAccess::object(cls, id);
}

// The id the next row of `cls` gets while this connection holds the write lock: the largest id
// plus one (1 for an empty table). 0 when the engine would pick another (the largest id is the
// largest possible): then the object is inserted at once.
bool RepositorySession::nextObjectId(const ClassInfo& cls, std::int64_t& id,
                                     tvdiag::util::diagnostics& diagnostics) {
    std::int64_t& known = nextIds_[cls.index];
    if (known > 0) {
        id = known++;
        return true;
    }
    std::int64_t largest = 0;
    if (!check(driver_->largestId(cls, largest), "vrex:object:createFailed",
               "cannot create an object of " + cls.name, diagnostics)) {
        return false;
    }
    id = largest < std::numeric_limits<std::int64_t>::max() ? largest + 1 : 0;
    if (id > 0 && id < std::numeric_limits<std::int64_t>::max()) known = id + 1;
    return true;
}

// The write lock is held from the begin of an explicit transaction or an outermost dictionary
// function to its end: only then can no other process add rows meanwhile.
bool RepositorySession::holdsWriteLock() const {
    return (explicitTransaction_ || functionDepth_ > 0) && driver_->isInTransaction();
}

// Next ids are known only within one write transaction in which nothing was undone.
void RepositorySession::forgetNextIds() { std::fill(nextIds_.begin(), nextIds_.end(), 0); }

// Inserts the pending object's row; false when the engine refuses it, with a diagnostic under
// `identifier` ("cannot create an object of <class>" unless `action` says otherwise). A pending
// object whose transaction the engine rolled back is gone with it.
bool RepositorySession::writePendingObject(tvdiag::util::diagnostics& diagnostics,
                                           const char* identifier, const char* action) {
    if (transactionLost()) {  // no write may fall back to a transaction of its own
        pending_.discard();
        forgetNextIds();
        refuseLostTransaction(action != nullptr ? action : "write", diagnostics);
        return false;
    }
    if (pending_.isEmpty()) return true;
    if (!driver_->isInTransaction()) {  // the pending object went with its transaction
        pending_.discard();
        return true;
    }
    const ClassInfo* cls = pending_.objectClass();
    if (pending_.write(*driver_)) return true;
    forgetNextIds();
    driver_->report(diagnostics, identifier,
                    action != nullptr ? std::string(action) : "cannot create an object of " + cls->name);
    return false;
}

void RepositorySession::findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                                    std::vector<ObjectRef>& result,
                                    tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    const ClassInfo* info = classOf(cls, "find objects", diagnostics);
    if (info == nullptr || !writePendingObject(diagnostics) ||
        !checkConstraints(*info, constraints, diagnostics)) {
        return;
    }
    std::vector<std::int64_t> ids;
    if (!check(driver_->findObjects(*info, constraints, ids), "vrex:find:failed",
               "cannot search the objects of " + info->name, diagnostics)) {
        return;
    }
    result.reserve(ids.size());
    for (std::int64_t id : ids) result.push_back(RefAccess::object(cls, id));
}

bool RepositorySession::checkConstraints(const ClassInfo& cls, const MatchConstraints& constraints,
                                         tvdiag::util::diagnostics& diagnostics) const {
    for (const auto& constraint : constraints.constraints()) {
        const PropertyInfo* property = RefAccess::info(constraint.property);
        std::string problem;
        if (property == nullptr) {
            problem = "a constraint names a null property";
        } else if (property->owner != &cls) {
            problem = "the property " + property->owner->name + "." + property->name +
                      " does not belong to the class " + cls.name;
        } else if (property->kind != PropertyKind::Text) {
            problem = "the property " + cls.name + "." + property->name + " holds objects, not text";
        }
        if (!problem.empty()) {
            diagnostics.add("vrex:find:badConstraint", "cannot search " + cls.name + ": " + problem);
            return false;
        }
    }
    return true;
}

void RepositorySession::setPropertyValue(const ObjectRef& object, const PropertyRef& property,
                                         const qaArray& value, tvdiag::util::diagnostics& diagnostics) {
    const PropertyInfo* info = propertyOf(object, property, "write", diagnostics);
    if (info == nullptr) return;
    if (driver_->isReadOnly()) return reportReadOnly("write " + describe(object, *info), diagnostics);
    std::optional<std::string> text;
    if (!storedText(*info, value, text, diagnostics)) return;
    if (pending_.is(*info->owner, object.id())) return pending_.set(*info, std::move(text));
    if (!writePendingObject(diagnostics)) return;
    const Driver::RowResult written = driver_->writeProperty(*info, object.id(), text);
    if (written == Driver::RowResult::Failed) {
        driver_->report(diagnostics, "vrex:property:writeFailed", "cannot write " + describe(object, *info));
    } else if (written == Driver::RowResult::NoSuchObject) {
        diagnostics.add("vrex:object:notFound", "cannot write " + describe(object, *info) +
                                                    ": the registry \"" + file() + "\" has no such object");
    }
}

qaArray RepositorySession::getPropertyValue(const ObjectRef& object, const PropertyRef& property,
                                            tvdiag::util::diagnostics& diagnostics) {
    const PropertyInfo* info = propertyOf(object, property, "read", diagnostics);
    std::optional<std::string> text;
    if (info == nullptr || !readStoredText(object, *info, text, diagnostics) || !text) return qaArray();
    if (info->kind == PropertyKind::Text) return qaArray::fromText(std::move(*text));
    return decodeObject(*info, *text, diagnostics);
}

std::optional<std::string> RepositorySession::getStoredText(const ObjectRef& object,
                                                            const PropertyRef& property,
                                                            tvdiag::util::diagnostics& diagnostics) {
    const PropertyInfo* info = propertyOf(object, property, "read", diagnostics);
    std::optional<std::string> text;
    if (info == nullptr || !readStoredText(object, *info, text, diagnostics)) return std::nullopt;
    return text;
}

bool RepositorySession::readStoredText(const ObjectRef& object, const PropertyInfo& property,
                                       std::optional<std::string>& text,
                                       tvdiag::util::diagnostics& diagnostics) {
    if (!writePendingObject(diagnostics)) return false;
    const Driver::RowResult read = driver_->readProperty(property, object.id(), text);
    if (read == Driver::RowResult::NoSuchObject) {
        diagnostics.add("vrex:object:notFound", "cannot read " + describe(object, property) +
                                                    ": the registry \"" + file() + "\" has no such object");
        return false;
    }
    if (read == Driver::RowResult::Failed) {
        driver_->report(diagnostics, "vrex:property:readFailed", "cannot read " + describe(object, property));
        return false;
    }
    return true;
}

void RepositorySession::readStoredTexts(const ClassRef& cls, const std::vector<PropertyRef>& properties,
                                        std::int64_t afterId, std::size_t limit,
                                        std::vector<StoredObject>& result,
                                        tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    const ClassInfo* info = classOf(cls, "read the objects", diagnostics);
    if (info == nullptr) return;
    std::vector<const PropertyInfo*> columns;
    for (const PropertyRef& property : properties) {
        const PropertyInfo* column = propertyOf(RefAccess::object(cls, 0), property, "read", diagnostics);
        if (column == nullptr) return;
        columns.push_back(column);
    }
    std::vector<Driver::StoredRow> rows;
    if (!writePendingObject(diagnostics) ||
        !check(driver_->readRows(*info, columns, afterId, limit, rows), "vrex:read:failed",
               "cannot read the objects of " + info->name, diagnostics)) {
        return;
    }
    result.reserve(rows.size());
    for (Driver::StoredRow& row : rows) result.push_back({RefAccess::object(cls, row.id), std::move(row.texts)});
}

// A pending object was never written: forgetting it deletes it.
void RepositorySession::deleteObject(const ObjectRef& object, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(object.objectClass(), "delete an object", diagnostics);
    if (info == nullptr) return;
    const std::string action = "delete object " + std::to_string(object.id()) + " of " + info->name;
    if (driver_->isReadOnly()) return reportReadOnly(action, diagnostics);
    if (!holdsWriteLock()) {
        diagnostics.add("vrex:transaction:notOpen", "cannot " + action + " outside a transaction on the registry \"" +
                                                        file() + "\"");
        return;
    }
    if (pending_.is(*info, object.id())) return pending_.discard();
    if (!writePendingObject(diagnostics)) return;
    const Driver::RowResult deleted = driver_->deleteObject(*info, object.id());
    if (deleted == Driver::RowResult::Failed) {
        driver_->report(diagnostics, "vrex:object:deleteFailed", "cannot " + action);
    } else if (deleted == Driver::RowResult::NoSuchObject) {
        diagnostics.add("vrex:object:notFound",
                        "cannot " + action + ": the registry \"" + file() + "\" has no such object");
    }
}

void RepositorySession::checkIntegrity(tvdiag::util::diagnostics& diagnostics) {
    std::vector<std::string> damaged;
    std::vector<std::string> missing;
    std::vector<std::string> foreign;
    if (!check(driver_->checkIntegrity(damaged) && driver_->findMissingParts(missing) &&
                   driver_->findForeignParts(foreign),
               "vrex:integrity:failed", "cannot check the registry", diagnostics)) {
        return;
    }
    for (const std::string& finding : damaged) {
        diagnostics.add("vrex:integrity:damaged", "the registry \"" + file() + "\" is damaged: " + finding);
    }
    for (const std::string& part : missing) {
        diagnostics.add("vrex:integrity:missing", "in the registry \"" + file() + "\", " + part +
                                                      " (opening it for writing makes it again)");
    }
    for (const std::string& part : foreign) {
        diagnostics.add("vrex:integrity:foreign", "in the registry \"" + file() + "\", " + part);
    }
}

// --- checks and conversions -----------------------------------------------------------------

const ClassInfo* RepositorySession::classOf(const ClassRef& cls, const char* action,
                                            tvdiag::util::diagnostics& diagnostics,
                                            const char* actionObject) const {
    const ClassInfo* info = RefAccess::info(cls);
    if (info == nullptr) {
        diagnostics.add("vrex:object:nullClass",
                        std::string("cannot ") + action + actionObject + ": the class is null");
    } else if (info->metamodel != metamodel_.get()) {
        diagnostics.add("vrex:object:foreignClass", std::string("cannot ") + action + actionObject +
                                                        ": the class " + info->name +
                                                        " is not of the registry \"" + file() + "\"");
        info = nullptr;
    }
    return info;
}

const PropertyInfo* RepositorySession::propertyOf(const ObjectRef& object, const PropertyRef& property,
                                                  const char* action,
                                                  tvdiag::util::diagnostics& diagnostics) const {
    const ClassInfo* cls = classOf(object.objectClass(), action, diagnostics, " a property");
    if (cls == nullptr) return nullptr;
    const PropertyInfo* info = RefAccess::info(property);
    if (info == nullptr) {
        diagnostics.add("vrex:property:null", std::string("cannot ") + action + " a property of " +
                                                  cls->name + ": the property is null");
    } else if (info->owner != cls) {
        diagnostics.add("vrex:property:notOfClass", std::string("cannot ") + action + " " +
                                                        info->owner->name + "." +
                                                        info->name + " of an object of " + cls->name);
        info = nullptr;
    }
    return info;
}

void RepositorySession::reportReadOnly(const std::string& action,
                                       tvdiag::util::diagnostics& diagnostics) const {
    diagnostics.add("vrex:readOnly",
                    "cannot " + action + ": the registry \"" + file() + "\" is open for reading only");
}

bool RepositorySession::storedText(const PropertyInfo& property, const qaArray& value,
                                   std::optional<std::string>& text,
                                   tvdiag::util::diagnostics& diagnostics) const {
    const auto where = [&property] { return property.owner->name + "." + property.name; };
    if (value.kind() == qaArray::Kind::Empty) return true;  // unsets the property
    if (property.kind == PropertyKind::Text) {
        if (value.kind() == qaArray::Kind::Char) {
            text = value.text();
            return true;
        }
        diagnostics.add("vrex:property:wrongValue", "cannot write " + where() +
                                                        ": a text property takes a character value, not " +
                                                        value.className());
        return false;
    }
    if (value.kind() != qaArray::Kind::Object || value.numel() != 1 || value.object(0) == nullptr) {
        diagnostics.add("vrex:property:wrongValue",
                        "cannot write " + where() + ": an object property takes one object");
        return false;
    }
    if (!options_.objectCodec) {
        diagnostics.add("vrex:property:noObjectCodec",
                        "cannot write " + where() + ": no object codec is installed");
        return false;
    }
    try {
        text = options_.objectCodec->encode(value);
        return true;
    } catch (const std::exception& error) {
        diagnostics.add("vrex:property:encodeFailed",
                        "cannot write " + where() + ": cannot encode the " + value.className() +
                            " object: " + error.what());
        return false;
    }
}

qaArray RepositorySession::decodeObject(const PropertyInfo& property, const std::string& text,
                                        tvdiag::util::diagnostics& diagnostics) const {
    const auto where = [&property] { return property.owner->name + "." + property.name; };
    if (!options_.objectCodec) {
        diagnostics.add("vrex:property:noObjectCodec", "cannot read " + where() + ": no object codec is installed");
        return qaArray();
    }
    try {
        return options_.objectCodec->decode(text);
    } catch (const std::exception& error) {
        diagnostics.add("vrex:property:decodeFailed",
                        "cannot read " + where() + ": cannot decode the stored object: " + error.what());
        return qaArray();
    }
}

std::string RepositorySession::describe(const ObjectRef& object, const PropertyInfo& property) const {
    return property.owner->name + "." + property.name + " of object " + std::to_string(object.id());
}

}  // namespace vrex::internal
