#include "vrex/internal/RepositorySession.hpp"

#include <sqlite3.h>
#include <unistd.h>

#include <algorithm>
#include <exception>
#include <limits>

#include "vrex/internal/RefAccess.hpp"
#include "vrex/internal/RegistrySchema.hpp"
#include "vrex/internal/SqlNames.hpp"

namespace vrex::internal {

namespace {

std::string savepointName(int depth) { return "vrex_function_" + std::to_string(depth); }

}  // namespace

std::shared_ptr<RepositorySession> RepositorySession::open(const std::string& file,
                                                           std::shared_ptr<const Metamodel> metamodel,
                                                           const Options& options, bool create,
                                                           tvdiag::util::diagnostics& diagnostics) {
    // A file this process may not write opens for reading.
    bool readOnly = options.readOnly || (!create && ::access(file.c_str(), W_OK) != 0);
    std::shared_ptr<RepositorySession> session(
        new RepositorySession(std::move(metamodel), options, readOnly));
    if (!session->connect(file, create, diagnostics)) return nullptr;
    return session;
}

RepositorySession::RepositorySession(std::shared_ptr<const Metamodel> metamodel,
                                     const Options& options, bool readOnly)
    : metamodel_(std::move(metamodel)), options_(options), readOnly_(readOnly) {}

RepositorySession::~RepositorySession() { close(); }

bool RepositorySession::connect(const std::string& file, bool create,
                                tvdiag::util::diagnostics& diagnostics) {
    int flags = SQLITE_OPEN_NOMUTEX |
                (readOnly_ ? SQLITE_OPEN_READONLY
                           : SQLITE_OPEN_READWRITE | (create ? SQLITE_OPEN_CREATE : 0));
    if (connection_.open(file, flags) != SQLITE_OK) {
        connection_.report(diagnostics, create ? "vrex:open:cannotCreate" : "vrex:open:sqliteError",
                           create ? "cannot create the file" : "cannot open the file");
        return false;
    }
    connection_.setBusyTimeout(options_.busyTimeoutMs);
    RegistrySchema schema(connection_, *metamodel_);
    if ((create && !schema.stampNewFile(diagnostics)) || !configure(diagnostics) ||
        !schema.prepare(readOnly_, diagnostics)) {
        connection_.close();
        return false;
    }
    statements_ = std::make_unique<StatementCache>(connection_, *metamodel_);
    nextIds_.assign(metamodel_->classes().size(), 0);
    return true;
}

// Write-ahead logging lets readers go on while one process writes. With it, synchronous=NORMAL
// keeps every committed transaction across a crash of the process (the log is written before
// the commit returns); only a power loss or operating-system crash can lose the last commits,
// and never corrupts the file. FULL also syncs the log at each commit.
bool RepositorySession::configure(tvdiag::util::diagnostics& diagnostics) {
    std::string mode;
    if (!readOnly_) {
        int rc = connection_.queryText("PRAGMA journal_mode = WAL", mode);
        if (rc != SQLITE_OK || mode != "wal") {
            connection_.report(diagnostics, "vrex:open:sqliteError", "cannot switch to write-ahead logging");
            return false;
        }
    }
    const char* synchronous = options_.durability == DataModelRepository::Durability::Full
                                  ? "PRAGMA synchronous = FULL"
                                  : "PRAGMA synchronous = NORMAL";
    if (connection_.exec(synchronous) != SQLITE_OK) {
        connection_.report(diagnostics, "vrex:open:sqliteError", "cannot set the durability");
        return false;
    }
    return true;
}

void RepositorySession::close() {
    if (!connection_.isOpen()) return;
    if (connection_.isInTransaction()) connection_.exec("ROLLBACK");
    pending_.discard();
    forgetNextIds();
    explicitTransaction_ = false;
    statements_.reset();
    connection_.close();
}

// --- transactions ---------------------------------------------------------------------------

void RepositorySession::beginTransaction(tvdiag::util::diagnostics& diagnostics) {
    if (refuseInsideFunction("begin a transaction", diagnostics)) return;
    syncTransactionState();
    if (explicitTransaction_) {
        diagnostics.add("vrex:transaction:alreadyOpen",
                        "a transaction is already open on the registry \"" + file() + "\"");
        return;
    }
    const char* begin = readOnly_ ? "BEGIN" : "BEGIN IMMEDIATE";
    if (run(begin, "vrex:transaction:beginFailed", "cannot begin a transaction", diagnostics)) {
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

// Commits or rolls back the explicit transaction. After a failure it stays open only if SQLite
// kept it; a pending object that cannot be written fails the commit before it is tried.
void RepositorySession::endTransaction(bool commit, tvdiag::util::diagnostics& diagnostics) {
    const char* action = commit ? "commit" : "roll back";
    if (refuseInsideFunction(action, diagnostics)) return;
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
        explicitTransaction_ = connection_.isInTransaction();
        return;
    }
    run(commit ? "COMMIT" : "ROLLBACK",
        commit ? "vrex:transaction:commitFailed" : "vrex:transaction:rollbackFailed",
        std::string("cannot ") + action, diagnostics);
    explicitTransaction_ = connection_.isInTransaction();
}

bool RepositorySession::isTransactionOpen() const {
    return explicitTransaction_ && connection_.isInTransaction();
}

void RepositorySession::performDictionaryFunction(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    syncTransactionState();
    if (!writePendingObject(diagnostics)) return;  // it belongs to the enclosing transaction
    const bool nested = explicitTransaction_ || functionDepth_ > 0;
    const std::string savepoint = savepointName(functionDepth_ + 1);
    const std::string begin = nested ? "SAVEPOINT " + savepoint : readOnly_ ? "BEGIN" : "BEGIN IMMEDIATE";
    if (!run(begin, "vrex:function:beginFailed", "cannot begin a dictionary function", diagnostics)) {
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

// A deferred BEGIN takes no lock; the first read takes the snapshot that every later read of
// the transaction shares, and COMMIT ends it.
void RepositorySession::performDictionaryRead(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    syncTransactionState();
    if (connection_.isInTransaction()) return fn(diagnostics);
    if (!run("BEGIN", "vrex:read:beginFailed", "cannot begin reading", diagnostics)) return;
    tvdiag::util::diagnostics endErrors;  // ending a read loses nothing: its errors are not fn's
    try {
        fn(diagnostics);
    } catch (...) {
        if (connection_.isInTransaction()) run("COMMIT", "vrex:read:endFailed", "cannot end reading", endErrors);
        throw;
    }
    if (connection_.isInTransaction()) run("COMMIT", "vrex:read:endFailed", "cannot end reading", endErrors);
}

// Ends a dictionary function: its work is kept (released or committed) or undone.
void RepositorySession::leaveFunction(bool nested, const std::string& savepoint, bool keep,
                                      tvdiag::util::diagnostics& diagnostics) {
    if (keep && !writePendingObject(diagnostics)) keep = false;
    if (!keep) {
        pending_.discard();
        forgetNextIds();  // undone rows give their ids back
    }
    --functionDepth_;
    if (!connection_.isInTransaction()) {
        // SQLite rolled everything back itself after an I/O error, a full disk or the like.
        explicitTransaction_ = false;
        if (keep) {
            diagnostics.add("vrex:function:rolledBack",
                            "the transaction on the registry \"" + file() + "\" was rolled back");
        }
        return;
    }
    tvdiag::util::diagnostics undoErrors;  // a failed undo leaves the caller's errors as they are
    if (nested) {
        if (!keep) run("ROLLBACK TO " + savepoint, "vrex:function:rollbackFailed", "cannot undo", undoErrors);
        run("RELEASE " + savepoint, "vrex:function:commitFailed", "cannot end a savepoint",
            keep ? diagnostics : undoErrors);
    } else if (!keep) {
        run("ROLLBACK", "vrex:function:rollbackFailed", "cannot roll back", undoErrors);
    } else if (!run("COMMIT", "vrex:function:commitFailed", "cannot commit", diagnostics) &&
               connection_.isInTransaction()) {
        run("ROLLBACK", "vrex:function:rollbackFailed", "cannot roll back", undoErrors);
    }
}

void RepositorySession::syncTransactionState() {
    if (explicitTransaction_ && !connection_.isInTransaction()) explicitTransaction_ = false;
    if (!connection_.isInTransaction()) {  // rolled back with its transaction
        pending_.discard();
        forgetNextIds();
    }
}

bool RepositorySession::refuseInsideFunction(const char* action,
                                             tvdiag::util::diagnostics& diagnostics) const {
    if (functionDepth_ == 0) return false;
    diagnostics.add("vrex:transaction:insideFunction",
                    std::string("cannot ") + action + " inside a dictionary function on the registry \"" +
                        file() + "\"");
    return true;
}

bool RepositorySession::run(const std::string& sql, const char* identifier,
                            const std::string& action, tvdiag::util::diagnostics& diagnostics) {
    Statement* statement = statements_->bySql(sql, diagnostics);
    if (statement == nullptr) return false;
    Statement::Use use(*statement);
    if (statement->step() == SQLITE_DONE) return true;
    connection_.report(diagnostics, identifier, action);
    return false;
}

// --- objects --------------------------------------------------------------------------------

// Inside a transaction the new object stays pending (see PendingObject): its row is written
// with all its properties when anything else needs the file.
ObjectRef RepositorySession::createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics) {
    const ClassInfo* info = classOf(cls, "create an object", diagnostics);
    if (info == nullptr) return ObjectRef();
    if (readOnly_) {
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
    Statement* insert = statements_->insertObject(*info, diagnostics);
    if (insert == nullptr) return ObjectRef();
    Statement::Use use(*insert);
    if (insert->step() != SQLITE_DONE) {
        connection_.report(diagnostics, "vrex:object:createFailed", "cannot create an object of " + info->name);
        return ObjectRef();
    }
    return RefAccess::object(cls, connection_.lastInsertId());
}

// The id SQLite gives the next row of `cls` while this connection holds the write lock: the
// largest id plus one (1 for an empty table). 0 when SQLite would pick another (the largest id
// is the largest possible): then the object is inserted at once.
bool RepositorySession::nextObjectId(const ClassInfo& cls, std::int64_t& id,
                                     tvdiag::util::diagnostics& diagnostics) {
    std::int64_t& known = nextIds_[cls.index];
    if (known > 0) {
        id = known++;
        return true;
    }
    Statement* query = statements_->largestId(cls, diagnostics);
    if (query == nullptr) return false;
    Statement::Use use(*query);
    if (query->step() != SQLITE_ROW) {
        connection_.report(diagnostics, "vrex:object:createFailed", "cannot create an object of " + cls.name);
        return false;
    }
    const std::int64_t largest = query->columnIsNull(0) ? 0 : query->columnInt64(0);
    id = largest < std::numeric_limits<std::int64_t>::max() ? largest + 1 : 0;
    if (id > 0 && id < std::numeric_limits<std::int64_t>::max()) known = id + 1;
    return true;
}

// The write lock is held from the begin of an explicit transaction or an outermost dictionary
// function (BEGIN IMMEDIATE) to its end: only then can no other process add rows meanwhile.
bool RepositorySession::holdsWriteLock() const {
    return (explicitTransaction_ || functionDepth_ > 0) && connection_.isInTransaction();
}

// Next ids are known only within one write transaction in which nothing was undone.
void RepositorySession::forgetNextIds() { std::fill(nextIds_.begin(), nextIds_.end(), 0); }

// Inserts the pending object's row; false when SQLite refuses it, with a diagnostic under
// `identifier` ("cannot create an object of <class>" unless `action` says otherwise). A pending
// object whose transaction SQLite rolled back is gone with it.
bool RepositorySession::writePendingObject(tvdiag::util::diagnostics& diagnostics,
                                           const char* identifier, const char* action) {
    if (pending_.isEmpty()) return true;
    if (!connection_.isInTransaction()) {  // SQLite rolled its transaction back by itself
        pending_.discard();
        return true;
    }
    const ClassInfo* cls = pending_.objectClass();
    if (pending_.write(*statements_)) return true;
    forgetNextIds();
    connection_.report(diagnostics, identifier,
                       action != nullptr ? std::string(action) : "cannot create an object of " + cls->name);
    return false;
}

void RepositorySession::findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                                    std::vector<ObjectRef>& result,
                                    tvdiag::util::diagnostics& diagnostics) {
    result.clear();
    const ClassInfo* info = classOf(cls, "find objects", diagnostics);
    if (info == nullptr || !writePendingObject(diagnostics)) return;
    Statement* query = findStatement(*info, constraints, diagnostics);
    if (query == nullptr) return;
    Statement::Use use(*query);
    int rc;
    while ((rc = query->step()) == SQLITE_ROW) result.push_back(RefAccess::object(cls, query->columnInt64(0)));
    if (rc != SQLITE_DONE) {
        result.clear();
        connection_.report(diagnostics, "vrex:find:failed", "cannot search the objects of " + info->name);
    }
}

// The prepared query for `constraints`, its parameters bound; null with a diagnostic.
Statement* RepositorySession::findStatement(const ClassInfo& cls, const MatchConstraints& constraints,
                                            tvdiag::util::diagnostics& diagnostics) {
    if (!checkConstraints(cls, constraints, diagnostics)) return nullptr;
    const auto& all = constraints.constraints();
    if (all.empty()) return statements_->listObjects(cls, diagnostics);
    Statement* query = nullptr;
    if (all.size() == 1 && all[0].relation == PropertyValueMatchRelation::Equals) {
        query = statements_->findEqual(*RefAccess::info(all[0].property), diagnostics);
    } else {
        std::string sql = "SELECT \"_id\" FROM " + tableName(cls) + " WHERE ";
        for (std::size_t i = 0; i < all.size(); ++i) {
            bool equals = all[i].relation == PropertyValueMatchRelation::Equals;
            sql += (i > 0 ? " AND " : "") + columnName(*RefAccess::info(all[i].property)) +
                   (equals ? " = ?" : " IS NOT ?") + std::to_string(i + 1);
        }
        query = statements_->bySql(sql + " ORDER BY \"_id\"", diagnostics);
    }
    if (query == nullptr) return nullptr;
    for (std::size_t i = 0; i < all.size(); ++i) query->bindText(static_cast<int>(i + 1), all[i].value);
    return query;
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
    if (readOnly_) return reportReadOnly("write " + describe(object, *info), diagnostics);
    std::optional<std::string> text;
    if (!storedText(*info, value, text, diagnostics)) return;
    if (pending_.is(*info->owner, object.id())) return pending_.set(*info, std::move(text));
    if (!writePendingObject(diagnostics)) return;
    Statement* write = statements_->writeProperty(*info, diagnostics);
    if (write == nullptr) return;
    Statement::Use use(*write);
    if (text) {
        write->bindText(1, *text);
    } else {
        write->bindNull(1);
    }
    write->bindInt64(2, object.id());
    if (write->step() != SQLITE_DONE) {
        connection_.report(diagnostics, "vrex:property:writeFailed", "cannot write " + describe(object, *info));
    } else if (connection_.changes() == 0) {
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
    Statement* read = statements_->readProperty(property, diagnostics);
    if (read == nullptr) return false;
    Statement::Use use(*read);
    read->bindInt64(1, object.id());
    int rc = read->step();
    if (rc == SQLITE_DONE) {
        diagnostics.add("vrex:object:notFound", "cannot read " + describe(object, property) +
                                                    ": the registry \"" + file() + "\" has no such object");
        return false;
    }
    if (rc != SQLITE_ROW) {
        connection_.report(diagnostics, "vrex:property:readFailed", "cannot read " + describe(object, property));
        return false;
    }
    if (!read->columnIsNull(0)) text = read->columnText(0);
    return true;
}

// SQLite answers a single row "ok" for a sound file, otherwise one row per problem.
void RepositorySession::checkIntegrity(tvdiag::util::diagnostics& diagnostics) {
    Statement* check = statements_->bySql("PRAGMA integrity_check", diagnostics);
    if (check == nullptr) return;
    Statement::Use use(*check);
    int rc;
    while ((rc = check->step()) == SQLITE_ROW) {
        const std::string finding = check->columnText(0);
        if (finding != "ok") {
            diagnostics.add("vrex:integrity:damaged",
                            "the registry \"" + file() + "\" is damaged: " + finding);
        }
    }
    if (rc != SQLITE_DONE) {
        connection_.report(diagnostics, "vrex:integrity:damaged", "cannot check the file");
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
