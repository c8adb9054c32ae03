#include "StandardOutput.hpp"

#include <fcntl.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <iostream>
#include <string>

#include "ExitCode.hpp"

namespace scm_tool {

namespace {

// The first errno seen with a failed write; 0 when none failed or the reason is unknown.
int firstWriteError = 0;
bool finished = false;  // standard output is closed

bool isOpen(int descriptor) { return ::fcntl(descriptor, F_GETFD) != -1; }

// Occupies a closed standard descriptor with /dev/null opened the wrong way round, so that
// writes to it fail (EBADF) as they would on the closed descriptor.
void occupy(int descriptor) {
    const int flags = descriptor == STDIN_FILENO ? O_WRONLY : O_RDONLY;
    const int opened = ::open("/dev/null", flags);
    if (opened >= 0 && opened != descriptor) {
        ::dup2(opened, descriptor);
        ::close(opened);
    }
}

[[noreturn]] void throwLost(int error) {
    const std::string reason = error != 0 ? std::strerror(error) : "write error";
    throw ToolError("cannot write the output: " + reason);
}

bool outputFailed() { return !std::cout || std::ferror(stdout) != 0; }

}  // namespace

void guardStandardStreams() {
    std::signal(SIGPIPE, SIG_IGN);
    for (int descriptor : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO}) {
        if (!isOpen(descriptor)) occupy(descriptor);
    }
}

void requireStandardOutput() {
    if (!outputFailed()) return;
    if (firstWriteError == 0) firstWriteError = errno;
    throwLost(firstWriteError);
}

void finishStandardOutput() {
    if (finished) return;
    finished = true;
    requireStandardOutput();
    errno = 0;
    std::cout.flush();
    const bool flushed = std::fflush(stdout) == 0 && !outputFailed();
    const int flushError = errno;
    if (!flushed) throwLost(flushError);
    // close() reports what a network file system or a full disk could only tell at the end.
    if (std::fclose(stdout) != 0) throwLost(errno);
}

}  // namespace scm_tool
