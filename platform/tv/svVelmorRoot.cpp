#include "tv/svVelmorRoot.hpp"

#include <dlfcn.h>

#include <cstdlib>
#include <filesystem>
#include <system_error>

// Where the root lies relative to the directory of the platform library, after installation and
// in the build tree; set by the build.
#ifndef SCM_INSTALLED_ROOT_FROM_LIBDIR
#define SCM_INSTALLED_ROOT_FROM_LIBDIR "../share/shared_code_manager"
#endif
#ifndef SCM_BUILD_ROOT_FROM_LIBDIR
#define SCM_BUILD_ROOT_FROM_LIBDIR "../share/shared_code_manager"
#endif

namespace {

namespace fs = std::filesystem;

bool holdsMetamodel(const fs::path& root) {
    std::error_code error;
    return fs::is_regular_file(root / "toolbox" / "qvd" / "qvd" / "shared_metamodel.xml", error);
}

std::string withoutTrailingSeparator(const fs::path& path) {
    std::string text = path.lexically_normal().string();
    while (text.size() > 1 && text.back() == '/') text.pop_back();
    return text;
}

}  // namespace

std::string svPlatformLibraryDirectory() {
    Dl_info info{};
    if (dladdr(reinterpret_cast<void*>(&svVelmorRoot), &info) == 0 || info.dli_fname == nullptr) return "";
    std::error_code error;
    fs::path library = fs::absolute(info.dli_fname, error);
    return error ? "" : library.parent_path().string();
}

const char* svVelmorRootVariable() { return "SCM_VELMOR_ROOT"; }

std::string svVelmorRoot() {
    const char* overridden = std::getenv(svVelmorRootVariable());
    if (overridden != nullptr && *overridden != '\0') return overridden;
    fs::path directory = svPlatformLibraryDirectory();
    fs::path installed = directory / SCM_INSTALLED_ROOT_FROM_LIBDIR;
    fs::path built = directory / SCM_BUILD_ROOT_FROM_LIBDIR;
    if (!holdsMetamodel(installed) && holdsMetamodel(built)) return withoutTrailingSeparator(built);
    return withoutTrailingSeparator(installed);
}
