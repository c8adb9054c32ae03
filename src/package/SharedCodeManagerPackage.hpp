#pragma once

#include "kobj/COSPackageInfo.hpp"

namespace SCM {

// The scripting package "SharedCodeManager": its class-list loader registers the 23 published
// classes, base classes before the classes derived from them. Allocated through the class
// system's allocator; the class system owns it once added.
class SharedCodeManagerPackage : public kobj::COSPackageInfo {
public:
    static constexpr const char* kName = "SharedCodeManager";

    SharedCodeManagerPackage();
    ~SharedCodeManagerPackage() override;

    // kName.
    const char* name() const override;

protected:
    void loadClassList(kobj::PackageRegistrar& registrar) override;
};

}  // namespace SCM
