#pragma once

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "kobj/qaArray.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/ClassRef.hpp"
#include "vrex/MatchConstraints.hpp"
#include "vrex/MetamodelRef.hpp"
#include "vrex/ObjectCodec.hpp"
#include "vrex/ObjectRef.hpp"
#include "vrex/RepositoryOptions.hpp"
#include "vrex/StoredObject.hpp"

namespace vrex {

namespace internal {
class RepositorySession;
}  // namespace internal

// A dictionary repository: a registry file (an SQLite database) whose schema a metamodel XML file
// describes. One table per metamodel class, one column per property, one row per object.
//
// Errors never leave as exceptions: every operation that can fail takes a diagnostics list and
// adds records with stable identifiers ("vrex:open:notARegistry", ...) whose messages name the
// file and SQLite's error text. An operation succeeded when it added nothing.
//
// Several processes may use one file at once. Write transactions take the file's write lock when
// they begin, so whatever one transaction reads stays true until it commits: "look up, then
// create" inside one performDictionaryFunction is atomic across processes. Waiting for the lock
// is bounded by Options::busyTimeoutMs. On a PostgreSQL server a write transaction locks instead
// each value it searches an indexed property for, so writers of different keys run in parallel
// (see PostgresDriver); a transaction that searches several keys should search them in a fixed
// order.
//
// Opening an existing registry with a metamodel that differs from the one it was made with:
//  - classes and properties the file lacks are added (tables, columns, indexes);
//  - classes and properties the metamodel lacks stay in the file untouched, out of reach;
//  - a property whose kind differs from the file's is refused ("vrex:open:metamodelMismatch").
// Names are compared as SQL compares them, ignoring ASCII case.
//
// Not thread-safe: one repository belongs to one thread at a time.
class DataModelRepository {
public:
    // The options and their defaults are described in RepositoryOptions.hpp.
    using Options = RepositoryOptions;
    using Durability = RepositoryOptions::Durability;
    using StoredObject = vrex::StoredObject;

    // Options with objectCodec = defaultObjectCodec() and the busy timeout of
    // SCM_BUSY_TIMEOUT_MS, when set (an invalid value is kept in busyTimeoutError).
    static Options defaultOptions();

    // A registry location fit for messages: a file path as it is, a database URI without its
    // secrets (its password and every parameter libpq takes as a password field).
    static std::string printableName(const std::string& location);

    DataModelRepository();
    // Closes an open repository; an open transaction is rolled back.
    ~DataModelRepository();
    DataModelRepository(const DataModelRepository&) = delete;
    DataModelRepository& operator=(const DataModelRepository&) = delete;

    // Opens the registry `dictionaryFile` described by the metamodel XML `metamodelFile`
    // (paths in UTF-16, see toUtf16). A file that does not exist, or exists with length zero, is
    // made a new registry. Opened for reading, a registry that lacks parts of the metamodel opens
    // as it is (checkIntegrity names them; reading a missing table fails). Refused, with the file
    // left byte for byte as it was: a file that is not a registry (text, another SQLite
    // database, a truncated registry), a directory, a location where no file can be made, a
    // malformed or invalid metamodel (the message gives its file and line), a metamodel that
    // conflicts with the file. Refused as well when this repository is already open. On failure
    // the repository stays closed.
    void open(const std::u16string& dictionaryFile, const std::u16string& metamodelFile,
              const Options& options, tvdiag::util::diagnostics& diagnostics);
    bool isOpen() const;
    // The registry file's path as given to open (empty when closed).
    const std::string& fileName() const;

    // The metamodel of the open repository; null with a diagnostic when closed.
    MetamodelRef metamodel(tvdiag::util::diagnostics& diagnostics) const;

    // An explicit write transaction; begin waits for the write lock. Begin fails when one is
    // already open, commit and rollback when none is, all three while a dictionary function
    // runs. A commit that fails leaves the transaction open if SQLite kept it (roll it back
    // then) and closed if SQLite rolled it back itself.
    void beginTransaction(tvdiag::util::diagnostics& diagnostics);
    void commitTransaction(tvdiag::util::diagnostics& diagnostics);
    void rollbackTransaction(tvdiag::util::diagnostics& diagnostics);
    bool isTransactionOpen() const;

    // Runs fn as one write transaction: committed when `diagnostics` is empty after fn returned,
    // rolled back otherwise (fn's records stay in `diagnostics`; pass an empty list). Inside an
    // explicit transaction or another dictionary function it runs as a nested savepoint, undone
    // alone when fn leaves errors while the enclosing transaction goes on. An exception from fn
    // rolls its work back and propagates. fn is not run when the repository is closed or the
    // write lock cannot be had. An outermost function aborted by a deadlock with another writer
    // is rolled back and run again from the start (a few times at most), so fn must not keep
    // what a run left outside the repository.
    void performDictionaryFunction(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                                   tvdiag::util::diagnostics& diagnostics);

    // Runs fn, which only reads, inside one read transaction: every read sees the same state of
    // the file, and the file's locks are taken once instead of once per read. Inside an explicit
    // transaction or a dictionary function fn simply runs. fn's records stay in `diagnostics`; fn
    // is not run when the repository is closed or cannot begin reading. An exception from fn
    // ends the read transaction and propagates.
    void performDictionaryRead(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                               tvdiag::util::diagnostics& diagnostics);

    // A new object of `cls` with every property unset; null on error. Inside a write transaction
    // (explicit or a dictionary function) its row is written, with the property values set
    // meanwhile, when anything else needs the file; an error writing it is then reported by that
    // operation, or by the end of the dictionary function or the commit, which fail with it.
    ObjectRef createObject(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);

    // Replaces `result` with the objects of `cls` that meet every constraint (all objects for no
    // constraints), in creation order. Constraints must name text properties of `cls`. On error
    // `result` is empty.
    // Readies, inside a write transaction, the look-ups that follow of each of `values` in the
    // text property `property` of `cls` (a batch about to look up its keys): on a PostgreSQL
    // server it locks the values and reads their objects in one round trip, so that those
    // look-ups ask the server nothing; elsewhere it does nothing. Look-ups find the same objects
    // with or without it. Values are locked in one order: a transaction that readies several
    // classes should ready them in a fixed order too.
    void prepareLookUps(const ClassRef& cls, const PropertyRef& property, const std::vector<std::string>& values,
                        tvdiag::util::diagnostics& diagnostics);

    void findObjects(const ClassRef& cls, const MatchConstraints& constraints,
                     std::vector<ObjectRef>& result, tvdiag::util::diagnostics& diagnostics);

    // The largest id of the objects of `cls` (0 for none): one look-up at the end of the id index,
    // an upper bound of how many objects the class holds for progress displays. -1 on error.
    std::int64_t largestObjectId(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);

    // Replaces `values` with the texts of the text property `property` of `cls` that more than one
    // object holds, each once, in byte order: one statement, answered from the property's index
    // when it has one. On error `values` is empty.
    void findRepeatedValues(const ClassRef& cls, const PropertyRef& property, std::vector<std::string>& values,
                            tvdiag::util::diagnostics& diagnostics);

    // Writes one property of `object`. Text properties take a character value
    // (qaArray::fromText); object properties a 1 x 1 object value, stored as the codec's text;
    // both take [] to unset. The value stays the caller's.
    void setPropertyValue(const ObjectRef& object, const PropertyRef& property, const qaArray& value,
                          tvdiag::util::diagnostics& diagnostics);

    // Reads one property of `object`: a character value for text, the decoded 1 x 1 object value
    // for object properties (it owns a new object: see qaArray::release), [] when the property is
    // unset or the stored text does not decode. [] with a diagnostic on error.
    qaArray getPropertyValue(const ObjectRef& object, const PropertyRef& property,
                             tvdiag::util::diagnostics& diagnostics);

    // The stored text of the text or object property `property` (nullopt: unset) of the first
    // object of `cls` (lowest id) whose text property `key` is `value`: a search and a read in
    // one statement where the engine allows. False, with `text` unset, when no object has the
    // value; false with a diagnostic on error (the same ones as findObjects).
    bool readFirstMatch(const ClassRef& cls, const PropertyRef& key, const std::string& value,
                        const PropertyRef& property, std::optional<std::string>& text,
                        tvdiag::util::diagnostics& diagnostics);

    // Replaces `result` with the objects of `cls` whose id is above `afterId` (0: from the
    // first), at most `limit` of them, ascending by id, each with the stored texts of
    // `properties` (properties of `cls`): a page of a walk over a class, read in one round trip.
    // Walk a class by passing the last id of each page until a page comes back short; inside
    // performDictionaryRead every page sees the same state. On error `result` is empty.
    void readStoredTexts(const ClassRef& cls, const std::vector<PropertyRef>& properties, std::int64_t afterId,
                         std::size_t limit, std::vector<StoredObject>& result,
                         tvdiag::util::diagnostics& diagnostics);

    // Deletes `object` with every property. Only inside a write transaction (explicit or a
    // dictionary function), which keeps or undoes it with the rest; outside one it fails with
    // "vrex:transaction:notOpen", on a registry open for reading with "vrex:readOnly", for an
    // object the registry does not hold with "vrex:object:notFound".
    void deleteObject(const ObjectRef& object, tvdiag::util::diagnostics& diagnostics);

    // Checks the storage's structure. Adds a diagnostic for each problem found, naming it:
    //  - "vrex:integrity:damaged": damage (SQLite's integrity check of pages, b-trees and
    //    indexes; on PostgreSQL a table without its primary key or a column of another type);
    //  - "vrex:integrity:missing": a part of the metamodel the registry lacks (a table, column,
    //    index or catalogue row), which opening it for writing makes again;
    //  - "vrex:integrity:foreign": a table, index, trigger or view that the registry's schema
    //    does not have (made by another program).
    // A check that cannot run adds one "vrex:integrity:failed" with the engine's error. Nothing
    // added: the registry is sound. IntegrityScope::Schema leaves out the search for damage,
    // which reads every page of an SQLite file and is the part that takes long on a large one.
    enum class IntegrityScope { Full, Schema };
    void checkIntegrity(tvdiag::util::diagnostics& diagnostics, IntegrityScope scope = IntegrityScope::Full);

    // Whether the registry has the table of `cls` with a column for each of its properties. A
    // registry made before its metamodel gained the class or a property lacks them when opened
    // for reading (reading the class then fails); opening it for writing makes them. False with
    // a diagnostic when the registry cannot be inspected.
    bool holdsClass(const ClassRef& cls, tvdiag::util::diagnostics& diagnostics);

    // Closes the file; an open transaction is rolled back. Does nothing when closed.
    void close();

private:
    // Shared so that a dictionary function can finish safely when its callable closes the
    // repository.
    std::shared_ptr<internal::RepositorySession> session_;
};

}  // namespace vrex
