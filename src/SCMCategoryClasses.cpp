#include "SCMCategoryClasses.hpp"

namespace SCM {

SCMCategoryClasses::SCMCategoryClasses(const vrex::PackageRef& package) {
    for (std::size_t value = 0; value < categories_.size(); ++value) {
        Category& category = categories_[value];
        category.entryClass = package.findClass(scmTypeToString(static_cast<SCMTypes>(value)));
        category.checksum = category.entryClass.findProperty("Checksum");
        category.name = category.entryClass.findProperty("Name");
        category.identity = category.entryClass.findProperty("Identity");
        category.data = category.entryClass.findProperty("Data");
    }
}

const SCMCategoryClasses::Category& SCMCategoryClasses::of(SCMTypes type) const {
    const bool listed = type >= 0 && static_cast<std::size_t>(type) < categories_.size();
    return categories_[listed ? static_cast<std::size_t>(type) : static_cast<std::size_t>(SCM_NUM)];
}

}  // namespace SCM
