#pragma once

#include "tvdiag/diagnostics.hpp"

namespace vrex::internal {

// What a write transaction holds back from the storage (RepositoryObjects: a created object whose
// row is not written yet, and the ids it hands out), seen from TransactionState.
class TransactionWork {
public:
    virtual ~TransactionWork() = default;
    // Writes what is held back; false with a diagnostic under `identifier` ("cannot create an
    // object of <class>" unless `action` says otherwise) when the engine refuses it.
    virtual bool write(tvdiag::util::diagnostics& diagnostics, const char* identifier, const char* action) = 0;
    // Forgets the ids known: another process may write before the next write transaction.
    virtual void forgetIds() = 0;
    // Forgets everything held back: undone with its transaction.
    virtual void discard() = 0;
};

}  // namespace vrex::internal
