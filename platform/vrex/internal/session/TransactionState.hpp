#pragma once

#include <functional>
#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/session/Driver.hpp"
#include "vrex/internal/session/TransactionWork.hpp"

namespace vrex::internal {

// Which transaction is open on a repository and what may run when: the explicit transaction,
// the dictionary functions running inside one another (savepoints), and the rule that a
// transaction the engine ended behind the repository's back is lost until it is ended. The
// operations are DataModelRepository's, with the same contracts, on an open registry.
// Refers to the driver and the held-back work; both must outlive it.
class TransactionState {
public:
    TransactionState(Driver& driver, TransactionWork& work);
    TransactionState(const TransactionState&) = delete;
    TransactionState& operator=(const TransactionState&) = delete;

    void beginTransaction(tvdiag::util::diagnostics& diagnostics);
    void commitTransaction(tvdiag::util::diagnostics& diagnostics);
    void rollbackTransaction(tvdiag::util::diagnostics& diagnostics);
    bool isTransactionOpen() const;
    void performDictionaryFunction(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                                   tvdiag::util::diagnostics& diagnostics);
    void performDictionaryRead(const std::function<void(tvdiag::util::diagnostics&)>& fn,
                               tvdiag::util::diagnostics& diagnostics);

    // Whether this repository holds the write lock: inside an explicit transaction or a
    // dictionary function that the engine still has open. Only then can no other process add
    // rows meanwhile.
    bool holdsWriteLock() const;
    // An explicit transaction or a running dictionary function that the engine has ended behind
    // the repository's back: a lost connection, or an error after which it rolled back.
    bool transactionLost() const;
    // Reports "cannot <action>" when the transaction is lost (vrex:transaction:lost); then
    // nothing may touch the engine until the transaction is ended.
    bool refuseLostTransaction(const std::string& action, tvdiag::util::diagnostics& diagnostics) const;
    // Forgets the explicit transaction, for a repository being closed.
    void forget() { explicitTransaction_ = false; }

private:
    void endTransaction(bool commit, tvdiag::util::diagnostics& diagnostics);
    bool runFunction(const std::function<void(tvdiag::util::diagnostics&)>& fn, bool nested,
                     tvdiag::util::diagnostics& diagnostics);
    void leaveFunction(bool nested, const std::string& savepoint, bool keep,
                       tvdiag::util::diagnostics& diagnostics);
    // Forgets the held-back work when the engine has rolled its transaction back by itself.
    void syncTransactionState();
    // Writes the held-back work before anything else touches the engine.
    bool writeHeldBack(tvdiag::util::diagnostics& diagnostics);
    bool refuseInsideFunction(const char* action, tvdiag::util::diagnostics& diagnostics) const;
    bool isClosed() const { return !driver_.isOpen(); }

    Driver& driver_;
    TransactionWork& work_;
    bool explicitTransaction_ = false;
    int functionDepth_ = 0;  // dictionary functions running, outermost first
};

}  // namespace vrex::internal
