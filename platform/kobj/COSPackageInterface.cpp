#include "kobj/COSPackageInterface.hpp"

#include "kobj/ClassRegistry.hpp"

namespace kobj {

COSPackageInterface::COSPackageInterface(std::string packageName)
    : packageName_(std::move(packageName)) {}

COSPackageInterface::operator bool() const {
    return ClassRegistry::instance().findPackage(packageName_) != nullptr;
}

// The public client is the only client of this class system, so a release always withdraws the
// package.
bool COSPackageInterface::release(const COSClient&) const {
    return ClassRegistry::instance().releasePackage(packageName_);
}

}  // namespace kobj
