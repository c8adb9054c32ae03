#include "LibraryCall.hpp"

#include <atomic>
#include <csignal>

#include "SCMModuleEntry.hpp"

namespace scmpy {

namespace {

std::mutex libraryLock;
// Set by the handler, taken as the call ends (calls run one at a time).
std::atomic<bool> sigintArrived{false};

extern "C" void onSigint(int) {
    sigintArrived.store(true);
    HxInterruptWaits_shared_code_manager();
}

}  // namespace

// Python's handler is a function; SIG_DFL or SIG_IGN (chosen by the program) are left alone.
LibraryCall::LibraryCall(bool& interrupted) : library_(libraryLock), interrupted_(interrupted) {
    sigintArrived.store(false);
    HxResumeWaits_shared_code_manager();
    struct sigaction current {};
    if (sigaction(SIGINT, nullptr, &current) != 0) return;
    if (!(current.sa_flags & SA_SIGINFO) && (current.sa_handler == SIG_DFL || current.sa_handler == SIG_IGN)) {
        return;
    }
    struct sigaction ours {};
    ours.sa_handler = onSigint;
    ours.sa_flags = SA_RESTART;  // waits poll and sleep, which end early all the same
    sigemptyset(&ours.sa_mask);
    handling_ = sigaction(SIGINT, &ours, &previous_) == 0;
}

LibraryCall::~LibraryCall() {
    if (handling_) sigaction(SIGINT, &previous_, nullptr);
    interrupted_ = sigintArrived.exchange(false);
}

void LibraryCall::deliverInterrupt() {
    std::raise(SIGINT);
    if (PyErr_CheckSignals() != 0) throw pybind11::error_already_set();
}

}  // namespace scmpy
