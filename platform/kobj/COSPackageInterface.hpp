#pragma once

#include <string>

namespace kobj {

class COSClient;

// A handle on a package registered with the class system, found by COSPackage::getPackageInterface.
// It refers to the package by name, so it never dangles: after a release it simply finds nothing.
class COSPackageInterface {
public:
    COSPackageInterface() = default;  // refers to no package
    explicit COSPackageInterface(std::string packageName);

    // True when the package is registered now.
    explicit operator bool() const;
    const std::string& packageName() const { return packageName_; }

    // Releases the package for `client`: withdraws it and its classes from the class system and
    // deletes the package with its class-info objects and records. Objects of its classes stay
    // alive, but can no longer be reached by name. Returns false (and does nothing) when the
    // package is not registered.
    bool release(const COSClient& client) const;

private:
    std::string packageName_;
};

}  // namespace kobj
