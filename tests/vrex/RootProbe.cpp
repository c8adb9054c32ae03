// Prints svVelmorRoot() of the platform library it was loaded with: the tests run a copy of it
// in an installed layout (<prefix>/bin beside <prefix>/lib).
#include <cstdio>

#include "tv/svVelmorRoot.hpp"

int main() {
    std::printf("%s\n", svVelmorRoot().c_str());
    return 0;
}
