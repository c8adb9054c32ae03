#pragma once

#include <pybind11/pybind11.h>

#include <signal.h>

#include <exception>
#include <mutex>

namespace scmpy {

// The scope of one call into the library, entered with the GIL held: the GIL is released, so
// other Python threads run while the call waits (for a registry's lock, for a database server),
// and the library lock taken, so that calls from several threads reach the library, which has
// no locks of its own, one at a time. While Python handles SIGINT, SIGINT ends the call's waits
// instead (HxInterruptWaits_shared_code_manager). Leaving, the scope restores the handler, frees
// the library lock and takes the GIL back, in that order.
class LibraryCall {
public:
    // `interrupted` is set on leaving: whether SIGINT arrived during the call.
    explicit LibraryCall(bool& interrupted);
    ~LibraryCall();
    LibraryCall(const LibraryCall&) = delete;
    LibraryCall& operator=(const LibraryCall&) = delete;

    // With the GIL held after an interrupted call: hands the SIGINT to Python's handler and
    // throws what it raises (KeyboardInterrupt by default); returns when it raises nothing.
    static void deliverInterrupt();

private:
    pybind11::gil_scoped_release unlocked_;
    std::lock_guard<std::mutex> library_;
    bool& interrupted_;
    struct sigaction previous_ {};
    bool handling_ = false;
};

// Runs `call`, which only calls into the library (no Python objects, no conversions), in a
// LibraryCall; its result, or its exception. SIGINT during the call ends in Python's handler's
// exception instead.
template <typename Call>
auto callLibrary(Call&& call) -> decltype(call()) {
    decltype(call()) result{};
    std::exception_ptr failure;
    bool interrupted = false;
    {
        LibraryCall scope(interrupted);
        try {
            result = call();
        } catch (...) {
            failure = std::current_exception();
        }
    }
    if (interrupted) LibraryCall::deliverInterrupt();
    if (failure) std::rethrow_exception(failure);
    return result;
}

}  // namespace scmpy
