#pragma once

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

#include "tvdiag/diagnostics.hpp"
#include "vrex/MatchConstraints.hpp"
#include "vrex/internal/metamodel/Metamodel.hpp"

namespace vrex::internal {

// The storage engine under an open repository: an SQLite file or a PostgreSQL database. It runs
// the repository's statements and knows the engine's transaction state; TransactionState and
// RepositoryObjects keep the rules (which transaction is open, what may run when, what each
// failure is called).
//
// Every operation returns false (or Failed) when the engine refused it; report() then adds the
// engine's reason. A failure that ends the engine's transaction leaves isInTransaction() false.
class Driver {
public:
    enum class RowResult { Done, NoSuchObject, Failed };
    // One object's id and the stored texts of the properties a readRows call asked for.
    struct StoredRow {
        std::int64_t id = 0;
        std::vector<std::optional<std::string>> texts;
    };

    virtual ~Driver() = default;

    // The registry's name in messages: its file path, or its URI without the password.
    virtual const std::string& location() const = 0;
    // Whether writes are refused (opened for reading, or a file this process may not write).
    virtual bool isReadOnly() const = 0;
    virtual bool isOpen() const = 0;
    // Rolls back what is open and disconnects. Does nothing when closed.
    virtual void close() = 0;

    // Whether a transaction (or savepoint) is open.
    virtual bool isInTransaction() const = 0;
    // What a write transaction reads stays true until it commits: on a registry file it holds
    // the file's write lock from its begin to its end; on PostgreSQL each search for the value of
    // an indexed property locks that value until the end (see PostgresDriver). A read
    // transaction sees one state throughout. Read-only registries begin a plain read
    // transaction for both. A transaction that may write any number of objects (an explicit
    // one) asks for the whole registry instead: on PostgreSQL it then excludes every other
    // writer and takes no lock per value (see PostgresDriver).
    enum class WriteScope { PerValue, WholeRegistry };
    virtual bool beginWrite(WriteScope scope) = 0;
    virtual bool beginRead() = 0;
    virtual bool commit() = 0;
    virtual bool rollback() = 0;
    virtual bool savepoint(const std::string& name) = 0;
    virtual bool releaseSavepoint(const std::string& name) = 0;
    virtual bool rollbackToSavepoint(const std::string& name) = 0;

    // A new object of `cls` with every property unset; `id` is its id.
    virtual bool insertObject(const ClassInfo& cls, std::int64_t& id) = 0;
    // The largest id of `cls` (0 for none). Under the write lock the next new object gets it + 1.
    virtual bool largestId(const ClassInfo& cls, std::int64_t& id) = 0;
    // An id for a new object of `cls` that the engine hands out itself, once, whatever other
    // connections do; 0 when the engine does not (the next id is then largestId + 1).
    virtual bool reserveId(const ClassInfo& /*cls*/, std::int64_t& id) {
        id = 0;
        return true;
    }
    // Whether the open transaction was aborted by a conflict with another connection (a
    // deadlock) that running it again may resolve.
    virtual bool lostToConflict() const { return false; }
    // A new object with the given id and property texts (by PropertyInfo::position).
    virtual bool insertWholeObject(const ClassInfo& cls, std::int64_t id,
                                   const std::vector<std::optional<std::string>>& texts) = 0;
    // The ids of the objects of `cls` that meet every constraint (text properties of `cls`),
    // ascending.
    virtual bool findObjects(const ClassInfo& cls, const MatchConstraints& constraints,
                             std::vector<std::int64_t>& ids) = 0;
    // Readies the searches that follow in the open write transaction for each of `values` in
    // `property` (a text property of `cls`); searches find the same objects with or without it.
    virtual bool prepareLookUps(const ClassInfo& /*cls*/, const PropertyInfo& /*property*/,
                                const std::vector<std::string>& /*values*/) {
        return true;
    }
    // The stored text of `property` (nullopt: unset) of the object of lowest id whose text
    // property `key` (of the same class) holds `value`, in one statement: Done, or NoSuchObject
    // when none does. nullopt when the driver has no such statement (its searches do more than
    // read, such as locking the value): the caller then searches, then reads.
    virtual std::optional<RowResult> readFirstMatch(const PropertyInfo& /*key*/, const std::string& /*value*/,
                                                    const PropertyInfo& /*property*/,
                                                    std::optional<std::string>& /*text*/) {
        return std::nullopt;
    }
    // The stored text of one property (nullopt: unset).
    virtual RowResult readProperty(const PropertyInfo& property, std::int64_t id,
                                   std::optional<std::string>& text) = 0;
    virtual RowResult writeProperty(const PropertyInfo& property, std::int64_t id,
                                    const std::optional<std::string>& text) = 0;
    // Appends to `rows` the objects of `cls` whose id is above `afterId`, at most `limit`,
    // ascending, each with the stored texts of `properties` (of `cls`) in that order: one round
    // trip for the whole page.
    virtual bool readRows(const ClassInfo& cls, const std::vector<const PropertyInfo*>& properties,
                          std::int64_t afterId, std::size_t limit, std::vector<StoredRow>& rows) = 0;
    virtual RowResult deleteObject(const ClassInfo& cls, std::int64_t id) = 0;
    // Appends to `values` each text of the text property `property` that more than one object
    // holds, once, in byte order.
    virtual bool findRepeatedTexts(const PropertyInfo& property, std::vector<std::string>& values) = 0;
    // Checks the storage's structure; each problem found is one line in `findings`.
    virtual bool checkIntegrity(std::vector<std::string>& findings) = 0;
    // Finds the parts of the metamodel the storage lacks, which opening it for writing makes
    // again (see SchemaPlan::describe); each is one line in `findings`.
    virtual bool findMissingParts(std::vector<std::string>& findings) = 0;
    // Finds the tables, indexes, triggers and views that the registry's schema does not have;
    // each is one line in `findings` (see findForeignParts).
    virtual bool findForeignParts(std::vector<std::string>& findings) = 0;

    // Reports a failed call under `identifier` (see report) unless it succeeded; returns `succeeded`.
    bool check(bool succeeded, const char* identifier, const std::string& action,
               tvdiag::util::diagnostics& diagnostics) const {
        if (!succeeded) report(diagnostics, identifier, action);
        return succeeded;
    }

    // Adds "<action> in the registry "<location>": <the engine's reason>" under `identifier`.
    virtual void report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                        const std::string& action) const = 0;
};

}  // namespace vrex::internal
