#include "SCMChecksumInput.hpp"

#include <memory>

#include "digest/SCMDigestTap.hpp"

namespace SCM {

std::string checksumInput(const SCMIdentity& identity, std::string& checksum) {
    std::unique_ptr<SCMIdentity> copy(identity.clone());  // uncomputed: its checksum is made now
    std::string bytes;
    {
        SCMDigestTap tap(bytes);
        checksum = copy->getChecksum();
    }
    return bytes;
}

}  // namespace SCM
