#include "kobj/COSPackageInfo.hpp"

#include <stdexcept>

#include "kobj/Allocator.hpp"

namespace kobj {

COSPackageInfo::COSPackageInfo() = default;

COSPackageInfo::~COSPackageInfo() = default;

void* COSPackageInfo::operator new(std::size_t size) { return cosAllocate(size); }

void COSPackageInfo::operator delete(void* block) noexcept { cosFree(block); }

std::string COSPackageInfo::getDescription() const { return ""; }

std::string COSPackageInfo::getDetailedDescription() const { return getDescription(); }

COSClassInfo* COSPackageInfo::attemptToLoadClass(const std::string& shortName) {
    ensureClassListLoaded();
    auto found = classIndex_.find(shortName);
    return found == classIndex_.end() ? nullptr : found->second;
}

const std::vector<std::unique_ptr<COSClassInfo>>& COSPackageInfo::classes() {
    ensureClassListLoaded();
    return classes_;
}

void COSPackageInfo::ensureClassListLoaded() {
    if (classListLoaded_) return;
    classListLoaded_ = true;
    PackageRegistrar registrar(*this);
    loadClassList(registrar);
}

void PackageRegistrar::addClass(std::unique_ptr<COSClassInfo> classInfo) {
    const std::string& shortName = classInfo->shortName();
    if (package_.classIndex_.count(shortName) != 0) {
        throw std::logic_error(std::string("package ") + package_.name() + " lists the class " +
                               shortName + " twice");
    }
    classInfo->publishedName_ = std::string(package_.name()) + "." + shortName;
    package_.classIndex_[shortName] = classInfo.get();
    package_.classes_.push_back(std::move(classInfo));
}

}  // namespace kobj
