// Prints the checksum of a shared function key, computed by the installed library.
#include <iostream>

#include "shared_code_manager.hpp"

int main() {
    SCM::SCMSharedFunctionIdentity identity(1, 2, 3, 4);
    std::cout << identity.getChecksum() << '\n';
    return 0;
}
