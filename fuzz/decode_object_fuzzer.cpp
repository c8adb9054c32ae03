// Fuzzes the whole-object decoder with arbitrary stored texts. It must never crash, what it
// accepts must encode again and come back unchanged through a second round trip, and decoding
// the text (values written as they are read) must agree with decoding what the reader made of it
// (values written as script values): the same object, or the same problem.
#include <cstddef>
#include <cstdint>
#include <string>

#include "SCMIdentity.hpp"
#include "SCMModuleEntry.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/EncodingReader.hpp"
#include "kobj/ObjectEncoding.hpp"

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    HxInitialize_shared_code_manager();  // the library's classes, as the registry knows them
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string text(reinterpret_cast<const char*>(data), size);
    const std::string root = kobj::kHeterogeneousRootName;
    std::string problem;
    const qaArray decoded = kobj::decodeObject(text, root, problem);
    kobj::EncodedObject read;
    if (kobj::readEncodedObject(text, read)) {
        std::string readProblem;
        const qaArray fromRead = kobj::decodeObject(std::move(read), root, readProblem);
        if (readProblem != problem || fromRead.isEmpty() != decoded.isEmpty()) __builtin_trap();
        if (!decoded.isEmpty() && kobj::encodeObject(fromRead) != kobj::encodeObject(decoded)) __builtin_trap();
    } else if (!decoded.isEmpty()) {
        __builtin_trap();
    }
    if (decoded.isEmpty()) return 0;
    if (auto* identity = dynamic_cast<SCM::SCMIdentity*>(decoded.object(0))) identity->getChecksum();
    const std::string encoded = kobj::encodeObject(decoded);
    const qaArray again = kobj::decodeObject(encoded);
    if (again.isEmpty() || kobj::encodeObject(again) != encoded) __builtin_trap();
    return 0;
}
