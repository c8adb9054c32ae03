#include "vrex/internal/postgres/PostgresSupport.hpp"

#include <dlfcn.h>

#include "tv/svVelmorRoot.hpp"

namespace vrex::internal {

namespace {

constexpr const char* kEngineLibrary = "libscm_platform_postgres.so.0";

struct LoadedSupport {
    const PostgresSupport* support = nullptr;
    std::string error;
};

// Loads the engine library and asks it for its entry points. The library stays loaded for the
// life of the process: drivers and their connections may outlive any one repository.
LoadedSupport loadSupport() {
    LoadedSupport loaded;
    const std::string besidePlatform = svPlatformLibraryDirectory() + "/" + kEngineLibrary;
    void* library = dlopen(besidePlatform.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) library = dlopen(kEngineLibrary, RTLD_NOW | RTLD_LOCAL);
    if (library == nullptr) {
        const char* reason = dlerror();
        loaded.error = reason != nullptr ? reason : kEngineLibrary;
        return loaded;
    }
    using EntryPoint = const PostgresSupport* (*)();
    auto entry = reinterpret_cast<EntryPoint>(dlsym(library, "scm_postgres_support"));
    if (entry == nullptr) {
        loaded.error = std::string(kEngineLibrary) + " has no entry point scm_postgres_support";
        return loaded;
    }
    loaded.support = entry();
    return loaded;
}

}  // namespace

bool namesPostgresDatabase(const std::string& location) {
    return location.rfind("postgresql://", 0) == 0 || location.rfind("postgres://", 0) == 0;
}

const PostgresSupport* postgresSupport(std::string& error) {
    static const LoadedSupport loaded = loadSupport();
    error = loaded.error;
    return loaded.support;
}

}  // namespace vrex::internal
