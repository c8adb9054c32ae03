// Fuzzes the metamodel reader with arbitrary file contents: it must never crash, and it gives
// either a metamodel or the reason why not, never both and never neither.
#include <sys/mman.h>
#include <unistd.h>

#include <cstddef>
#include <cstdint>
#include <string>

#include "tvdiag/diagnostics.hpp"
#include "vrex/internal/metamodel/MetamodelReader.hpp"

namespace {

// The reader takes a file name: the input goes to an in-memory file, reached through /proc.
int inputFile() {
    static const int fd = memfd_create("metamodel.xml", 0);
    return fd;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const int fd = inputFile();
    if (fd < 0 || ftruncate(fd, 0) != 0 || pwrite(fd, data, size, 0) != static_cast<ssize_t>(size)) {
        __builtin_trap();
    }
    tvdiag::util::diagnostics diagnostics;
    const auto metamodel =
        vrex::internal::MetamodelReader::read("/proc/self/fd/" + std::to_string(fd), diagnostics);
    if ((metamodel == nullptr) == diagnostics.empty()) __builtin_trap();  // a result or a reason
    return 0;
}
