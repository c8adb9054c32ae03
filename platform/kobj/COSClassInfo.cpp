#include "kobj/COSClassInfo.hpp"

#include "kobj/Allocator.hpp"

namespace kobj {

COSClassInfo::COSClassInfo(std::string shortName, std::string description)
    : shortName_(std::move(shortName)),
      description_(std::move(description)),
      publishedName_(shortName_) {}

COSClassInfo::~COSClassInfo() = default;

void* COSClassInfo::operator new(std::size_t size) { return cosAllocate(size); }

void COSClassInfo::operator delete(void* block) noexcept { cosFree(block); }

}  // namespace kobj
