#pragma once

#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/session/SchemaStorage.hpp"

namespace vrex::internal {

// A transaction of a SchemaStorage, ended on every path: rolled back unless commit() succeeded.
class SchemaTransaction {
public:
    // Begins it (see SchemaStorage::begin); begun() tells whether that worked.
    SchemaTransaction(SchemaStorage& storage, bool writeLock, const std::string& failure,
                      tvdiag::util::diagnostics& diagnostics)
        : storage_(storage), begun_(storage.begin(writeLock, failure, diagnostics)) {}
    ~SchemaTransaction() {
        if (begun_) storage_.rollback();
    }
    SchemaTransaction(const SchemaTransaction&) = delete;
    SchemaTransaction& operator=(const SchemaTransaction&) = delete;

    bool begun() const { return begun_; }
    bool commit(const std::string& failure, tvdiag::util::diagnostics& diagnostics) {
        return storage_.commit(failure, diagnostics);
    }

private:
    SchemaStorage& storage_;
    bool begun_;
};

}  // namespace vrex::internal
