// Fuzzes the whole-object decoder with arbitrary stored texts. It must never crash, and what it
// accepts must encode again and come back unchanged through a second round trip.
#include <cstddef>
#include <cstdint>
#include <string>

#include "SCMIdentity.hpp"
#include "SCMModuleEntry.hpp"
#include "kobj/ObjectEncoding.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    HxInitialize_shared_code_manager();  // the library's classes, as the registry knows them
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const qaArray decoded = kobj::decodeObject(text);
    if (decoded.isEmpty()) return 0;
    if (auto* identity = dynamic_cast<SCM::SCMIdentity*>(decoded.object(0))) identity->getChecksum();
    const std::string encoded = kobj::encodeObject(decoded);
    const qaArray again = kobj::decodeObject(encoded);
    if (again.isEmpty() || kobj::encodeObject(again) != encoded) __builtin_trap();
    return 0;
}
