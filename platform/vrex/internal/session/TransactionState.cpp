#include "vrex/internal/session/TransactionState.hpp"

namespace vrex::internal {

namespace {

std::string savepointName(int depth) { return "vrex_function_" + std::to_string(depth); }

// Runs of an outermost dictionary function that conflicts with other writers may take.
constexpr int kConflictAttempts = 8;

}  // namespace

TransactionState::TransactionState(Driver& driver, TransactionWork& work) : driver_(driver), work_(work) {}

void TransactionState::beginTransaction(tvdiag::util::diagnostics& diagnostics) {
    if (refuseInsideFunction("begin a transaction", diagnostics) ||
        refuseLostTransaction("begin a transaction", diagnostics)) {
        return;
    }
    syncTransactionState();
    if (explicitTransaction_) {
        diagnostics.add("vrex:transaction:alreadyOpen",
                        "a transaction is already open on the registry \"" + driver_.location() + "\"");
        return;
    }
    if (driver_.check(driver_.beginWrite(Driver::WriteScope::WholeRegistry), "vrex:transaction:beginFailed", "cannot begin a transaction",
              diagnostics)) {
        explicitTransaction_ = true;
        work_.forgetIds();  // other processes may have written since the last transaction
    }
}

void TransactionState::commitTransaction(tvdiag::util::diagnostics& diagnostics) {
    endTransaction(true, diagnostics);
}

void TransactionState::rollbackTransaction(tvdiag::util::diagnostics& diagnostics) {
    endTransaction(false, diagnostics);
}

// Commits or rolls back the explicit transaction. After a failure it stays open only if the engine
// kept it; a pending object that cannot be written fails the commit before it is tried.
void TransactionState::endTransaction(bool commit, tvdiag::util::diagnostics& diagnostics) {
    const char* action = commit ? "commit" : "roll back";
    if (refuseInsideFunction(action, diagnostics)) return;
    if (transactionLost()) {  // nothing is left to commit; a rollback is already done
        if (commit) refuseLostTransaction("commit", diagnostics);
        explicitTransaction_ = false;
        work_.discard();
        return;
    }
    syncTransactionState();
    if (!explicitTransaction_) {
        diagnostics.add("vrex:transaction:notOpen", std::string("no transaction is open to ") + action +
                                                        " on the registry \"" + driver_.location() + "\"");
        return;
    }
    work_.forgetIds();
    if (!commit) {
        work_.discard();
    } else if (!work_.write(diagnostics, "vrex:transaction:commitFailed", "cannot commit")) {
        explicitTransaction_ = driver_.isInTransaction();
        return;
    }
    driver_.check(commit ? driver_.commit() : driver_.rollback(),
          commit ? "vrex:transaction:commitFailed" : "vrex:transaction:rollbackFailed",
          std::string("cannot ") + action, diagnostics);
    explicitTransaction_ = driver_.isInTransaction();
}

bool TransactionState::isTransactionOpen() const {
    return explicitTransaction_ && driver_.isInTransaction();
}

// An outermost function that a conflict with another writer (a deadlock) aborted is rolled back
// and run again, its diagnostics forgotten, up to kConflictAttempts times in all.
void TransactionState::performDictionaryFunction(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    if (refuseLostTransaction("run a dictionary function", diagnostics)) return;
    syncTransactionState();
    if (!writeHeldBack(diagnostics)) return;  // it belongs to the enclosing transaction
    const bool nested = explicitTransaction_ || functionDepth_ > 0;
    const tvdiag::util::diagnostics before = diagnostics;
    for (int attempt = 1; runFunction(fn, nested, diagnostics) && !nested && attempt < kConflictAttempts; ++attempt) {
        diagnostics = before;
    }
}

// Runs fn once; true when a conflict aborted it: it is rolled back, its records left in
// `diagnostics` for the caller to keep (the last run) or forget (one run again).
bool TransactionState::runFunction(const std::function<void(tvdiag::util::diagnostics&)>& fn, bool nested,
                                   tvdiag::util::diagnostics& diagnostics) {
    const std::string savepoint = savepointName(functionDepth_ + 1);
    const bool begun = nested ? driver_.savepoint(savepoint) : driver_.beginWrite(Driver::WriteScope::PerValue);
    if (!driver_.check(begun, "vrex:function:beginFailed", "cannot begin a dictionary function", diagnostics)) {
        return false;
    }
    if (!nested) work_.forgetIds();
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
                        "the registry \"" + driver_.location() + "\" was closed inside a dictionary function");
        return false;
    }
    const bool conflict = !nested && driver_.lostToConflict();
    if (conflict) {
        tvdiag::util::diagnostics ignored;
        leaveFunction(nested, savepoint, false, ignored);
        return true;
    }
    leaveFunction(nested, savepoint, diagnostics.empty(), diagnostics);
    return false;
}

// Ending a read loses nothing, so its errors are not fn's and go unreported.
void TransactionState::performDictionaryRead(
    const std::function<void(tvdiag::util::diagnostics&)>& fn, tvdiag::util::diagnostics& diagnostics) {
    if (refuseLostTransaction("read", diagnostics)) return;
    syncTransactionState();
    if (driver_.isInTransaction()) return fn(diagnostics);
    if (!driver_.check(driver_.beginRead(), "vrex:read:beginFailed", "cannot begin reading", diagnostics)) return;
    try {
        fn(diagnostics);
    } catch (...) {
        if (!isClosed() && driver_.isInTransaction()) driver_.commit();
        throw;
    }
    if (!isClosed() && driver_.isInTransaction()) driver_.commit();
}

// Ends a dictionary function: its work is kept (released or committed) or undone.
void TransactionState::leaveFunction(bool nested, const std::string& savepoint, bool keep,
                                      tvdiag::util::diagnostics& diagnostics) {
    if (keep && !transactionLost() && !writeHeldBack(diagnostics)) keep = false;
    if (!keep) {
        work_.discard();  // undone rows give their ids back
    }
    --functionDepth_;
    if (!driver_.isInTransaction()) {
        // The engine rolled everything back itself after an I/O error, a full disk, a lost
        // connection or the like. An explicit transaction stays lost until it is ended.
        if (keep) {
            driver_.report(diagnostics, "vrex:function:rolledBack",
                            "the transaction was rolled back, nothing of it is kept");
        }
        return;
    }
    tvdiag::util::diagnostics undoErrors;  // a failed undo leaves the caller's errors as they are
    if (nested) {
        if (!keep) {
            driver_.check(driver_.rollbackToSavepoint(savepoint), "vrex:function:rollbackFailed", "cannot undo",
                  undoErrors);
        }
        driver_.check(driver_.releaseSavepoint(savepoint), "vrex:function:commitFailed", "cannot end a savepoint",
              keep ? diagnostics : undoErrors);
    } else if (!keep) {
        driver_.check(driver_.rollback(), "vrex:function:rollbackFailed", "cannot roll back", undoErrors);
    } else if (!driver_.check(driver_.commit(), "vrex:function:commitFailed", "cannot commit", diagnostics) &&
               driver_.isInTransaction()) {
        driver_.check(driver_.rollback(), "vrex:function:rollbackFailed", "cannot roll back", undoErrors);
    }
}

void TransactionState::syncTransactionState() {
    if (!driver_.isInTransaction()) {  // rolled back with its transaction
        work_.discard();
    }
}

// An explicit transaction or a running dictionary function that the engine has ended behind the
// repository's back: a lost connection, or an error after which the engine rolled everything back.
bool TransactionState::transactionLost() const {
    return (explicitTransaction_ || functionDepth_ > 0) && !driver_.isInTransaction();
}

bool TransactionState::refuseLostTransaction(const std::string& action,
                                              tvdiag::util::diagnostics& diagnostics) const {
    if (!transactionLost()) return false;
    driver_.report(diagnostics, "vrex:transaction:lost",
                    "cannot " + action + ": the transaction was lost and nothing of it is kept");
    return true;
}

bool TransactionState::refuseInsideFunction(const char* action,
                                             tvdiag::util::diagnostics& diagnostics) const {
    if (functionDepth_ == 0) return false;
    diagnostics.add("vrex:transaction:insideFunction",
                    std::string("cannot ") + action + " inside a dictionary function on the registry \"" +
                        driver_.location() + "\"");
    return true;
}

bool TransactionState::writeHeldBack(tvdiag::util::diagnostics& diagnostics) {
    return work_.write(diagnostics, "vrex:object:createFailed", nullptr);
}

// The write lock is held from the begin of an explicit transaction or an outermost dictionary
// function to its end.
bool TransactionState::holdsWriteLock() const {
    return (explicitTransaction_ || functionDepth_ > 0) && driver_.isInTransaction();
}

}  // namespace vrex::internal
