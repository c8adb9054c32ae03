#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <unordered_map>
#include <vector>

#include "kobj/COSClassInfo.hpp"

namespace kobj {

class PackageRegistrar;

// A package of published classes, as a module hands it to the class system
// (COSPackage::addPackage). A concrete package names itself and lists its class-info objects in
// its class-list loader, which the class system calls once, when it first needs the classes.
// Allocated through the class system's allocator; owned by the class system once added.
class COSPackageInfo {
public:
    COSPackageInfo();
    COSPackageInfo(const COSPackageInfo&) = delete;
    COSPackageInfo& operator=(const COSPackageInfo&) = delete;
    virtual ~COSPackageInfo();

    static void* operator new(std::size_t size);
    static void operator delete(void* block) noexcept;

    // The package name, the first part of its classes' published names.
    virtual const char* name() const = 0;
    // One line about the package; "" here.
    virtual std::string getDescription() const;
    // A longer text; the one-line description here.
    virtual std::string getDetailedDescription() const;
    // The class-info object of `shortName` (loading the class list first if needed), or null when
    // the package has no such class.
    virtual COSClassInfo* attemptToLoadClass(const std::string& shortName);

    // The class-info objects in the order the loader added them, loading them on first use.
    const std::vector<std::unique_ptr<COSClassInfo>>& classes();
    bool isClassListLoaded() const { return classListLoaded_; }

protected:
    // The class-list loader: adds every class-info object of the package through `registrar`.
    virtual void loadClassList(PackageRegistrar& registrar) = 0;

private:
    friend class PackageRegistrar;

    void ensureClassListLoaded();

    bool classListLoaded_ = false;
    std::vector<std::unique_ptr<COSClassInfo>> classes_;
    std::unordered_map<std::string, COSClassInfo*> classIndex_;
};

// What a class-list loader receives: the class system's registrar for one package.
class PackageRegistrar {
public:
    explicit PackageRegistrar(COSPackageInfo& package) : package_(package) {}

    // Adds a class to the package, which owns it from then on. A short name that is already
    // taken throws std::logic_error.
    void addClass(std::unique_ptr<COSClassInfo> classInfo);

private:
    COSPackageInfo& package_;
};

}  // namespace kobj
