#pragma once

#include <string>

namespace scm_tool {

// A registry path fit for printing: a postgresql:// or postgres:// URI keeps everything but its
// password, which becomes "***" (in the user part or a password= parameter); a file path stays
// as it is.
std::string printableRegistryName(const std::string& path);

}  // namespace scm_tool
