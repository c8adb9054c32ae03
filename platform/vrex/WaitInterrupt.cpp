#include "vrex/WaitInterrupt.hpp"

#include <atomic>

namespace vrex {

namespace {

// Lock-free, so that a signal handler may store it.
std::atomic<bool> interrupted{false};
static_assert(std::atomic<bool>::is_always_lock_free);

}  // namespace

void interruptWaits() { interrupted.store(true); }

void clearWaitInterrupt() { interrupted.store(false); }

bool waitsInterrupted() { return interrupted.load(); }

}  // namespace vrex
