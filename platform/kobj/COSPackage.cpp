#include "kobj/COSPackage.hpp"

#include "kobj/ClassRegistry.hpp"

namespace kobj {

bool COSPackage::addPackage(std::unique_ptr<COSPackageInfo> package) {
    return ClassRegistry::instance().addPackage(std::move(package));
}

COSPackageInterface COSPackage::getPackageInterface(const std::string& name) {
    if (ClassRegistry::instance().findPackage(name) == nullptr) return COSPackageInterface();
    return COSPackageInterface(name);
}

std::vector<std::string> COSPackage::packageNames() {
    return ClassRegistry::instance().packageNames();
}

}  // namespace kobj
