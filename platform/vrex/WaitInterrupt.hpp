#pragma once

namespace vrex {

// Ends the waits of this process's registry connections, for a SIGINT handler: a wait for
// another process's lock on a registry file ends with the error of a lock held too long, and a
// PostgreSQL statement still unanswered (within a tenth of a second) is cancelled, its connection
// closed when the server does not answer the cancel within a few seconds. Waits that begin later
// end so too, until clearWaitInterrupt(). Async-signal-safe; any thread may call it.
void interruptWaits();
// Lets waits run to their limits again (before a call that should not inherit an old interrupt).
void clearWaitInterrupt();
// Whether interruptWaits() ran since the last clearWaitInterrupt().
bool waitsInterrupted();

}  // namespace vrex
