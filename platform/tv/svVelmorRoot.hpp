#pragma once

#include <string>

// The installation root: the directory that holds toolbox/qvd/qvd/shared_metamodel.xml.
//
// The environment variable SCM_VELMOR_ROOT names it when set (and not empty). Otherwise it is
// found from where the platform library itself was loaded: <libdir>/../share/shared_code_manager
// (the relative step fixed when the platform was configured), which holds after `cmake --install`
// to any prefix and in the build tree. When no candidate holds the metamodel, the installed
// location is returned all the same, so that the failure names the expected path.
std::string svVelmorRoot();

// The name of the environment variable that overrides svVelmorRoot(): "SCM_VELMOR_ROOT".
const char* svVelmorRootVariable();

// The directory of the platform library loaded in this process ("" when it cannot be told): where
// the platform's own optional libraries are found.
std::string svPlatformLibraryDirectory();
