#pragma once

#include <memory>
#include <string>

#include "vrex/RepositoryOptions.hpp"
#include "vrex/internal/session/Driver.hpp"
#include "vrex/internal/sqlite/Connection.hpp"
#include "vrex/internal/sqlite/StatementCache.hpp"

namespace vrex::internal {

// A registry in an SQLite file. Write transactions begin IMMEDIATE: they take the file's write
// lock at once, so that no other process writes until they end.
class SqliteDriver : public Driver {
public:
    // Connects to `file`, which RegistryFileProbe found absent or empty (`create`) or a registry,
    // and readies its schema for `metamodel`. Null with diagnostics when that fails.
    static std::unique_ptr<SqliteDriver> open(const std::string& file, const Metamodel& metamodel,
                                              const RepositoryOptions& options,
                                              bool create, tvdiag::util::diagnostics& diagnostics);
    ~SqliteDriver() override;

    const std::string& location() const override { return connection_.file(); }
    bool isReadOnly() const override { return readOnly_; }
    bool isOpen() const override { return connection_.isOpen(); }
    void close() override;

    bool isInTransaction() const override { return connection_.isInTransaction(); }
    bool beginWrite(WriteScope scope) override;
    bool beginRead() override;
    bool commit() override;
    bool rollback() override;
    bool savepoint(const std::string& name) override;
    bool releaseSavepoint(const std::string& name) override;
    bool rollbackToSavepoint(const std::string& name) override;

    bool insertObject(const ClassInfo& cls, std::int64_t& id) override;
    bool largestId(const ClassInfo& cls, std::int64_t& id) override;
    bool insertWholeObject(const ClassInfo& cls, std::int64_t id,
                           const std::vector<std::optional<std::string>>& texts) override;
    bool findObjects(const ClassInfo& cls, const MatchConstraints& constraints,
                     std::vector<std::int64_t>& ids) override;
    std::optional<RowResult> readFirstMatch(const PropertyInfo& key, const std::string& value,
                                            const PropertyInfo& property, std::optional<std::string>& text) override;
    RowResult readProperty(const PropertyInfo& property, std::int64_t id,
                           std::optional<std::string>& text) override;
    RowResult writeProperty(const PropertyInfo& property, std::int64_t id,
                            const std::optional<std::string>& text) override;
    bool readRows(const ClassInfo& cls, const std::vector<const PropertyInfo*>& properties,
                  std::int64_t afterId, std::size_t limit, std::vector<StoredRow>& rows) override;
    RowResult deleteObject(const ClassInfo& cls, std::int64_t id) override;
    bool findRepeatedTexts(const PropertyInfo& property, std::vector<std::string>& values) override;
    bool checkIntegrity(std::vector<std::string>& findings) override;
    bool findMissingParts(std::vector<std::string>& findings) override;
    bool findForeignParts(std::vector<std::string>& findings) override;

    void report(tvdiag::util::diagnostics& diagnostics, const char* identifier,
                const std::string& action) const override;

private:
    explicit SqliteDriver(bool readOnly) : readOnly_(readOnly) {}

    bool connect(const std::string& file, const Metamodel& metamodel,
                 const RepositoryOptions& options, bool create,
                 tvdiag::util::diagnostics& diagnostics);
    bool configure(RepositoryOptions::Durability durability, tvdiag::util::diagnostics& diagnostics);
    // Runs one cached statement that returns no rows.
    bool run(const std::string& sql);
    // The prepared query for `constraints`, its parameters bound; null when it cannot be prepared.
    Statement* findStatement(const ClassInfo& cls, const MatchConstraints& constraints);

    bool readOnly_;
    const Metamodel* metamodel_ = nullptr;  // the session's, which outlives the driver
    Connection connection_;
    std::unique_ptr<StatementCache> statements_;
};

}  // namespace vrex::internal
