#pragma once

#include <memory>
#include <string>
#include <vector>

#include "kobj/COSPackageInfo.hpp"
#include "kobj/COSPackageInterface.hpp"

namespace kobj {

// The package registry of the class system, as modules see it.
class COSPackage {
public:
    COSPackage() = delete;

    // Registers `package`; the class system owns it from then on and loads its classes when it
    // first needs them. Returns false when a package of that name is registered already; `package`
    // is then deleted and the registered one stays.
    static bool addPackage(std::unique_ptr<COSPackageInfo> package);
    // The interface of the registered package `name`; an empty interface when there is none.
    static COSPackageInterface getPackageInterface(const std::string& name);
    // The names of the registered packages, in the order they were added.
    static std::vector<std::string> packageNames();
};

}  // namespace kobj
