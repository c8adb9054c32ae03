#pragma once

#include <string>

#include "SCMExport.hpp"
#include "SCMIdentity.hpp"

namespace SCM {

// The exact bytes an identity's key fields feed to the checksum digest, computed afresh on a
// copy of `identity` (which stays as it is); the checksum they give goes to `checksum`.
SCM_EXPORT std::string checksumInput(const SCMIdentity& identity, std::string& checksum);

}  // namespace SCM
