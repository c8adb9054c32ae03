#include "SCMCategoryClasses.hpp"

namespace SCM {

SCMCategoryClasses::SCMCategoryClasses(const vrex::PackageRef& package) : package_(package) {
    for (std::size_t value = 0; value < categories_.size(); ++value) {
        names_[value] = scmTypeToString(static_cast<SCMTypes>(value));
        categories_[value] = lookUp(names_[value]);
    }
}

SCMCategoryClasses::Category SCMCategoryClasses::lookUp(const std::string& className) const {
    Category category;
    category.entryClass = package_.findClass(className);
    category.checksum = category.entryClass.findProperty("Checksum");
    category.name = category.entryClass.findProperty("Name");
    category.identity = category.entryClass.findProperty("Identity");
    category.data = category.entryClass.findProperty("Data");
    return category;
}

const SCMCategoryClasses::Category& SCMCategoryClasses::of(SCMTypes type) const {
    const bool listed = type >= 0 && static_cast<std::size_t>(type) < categories_.size();
    return categories_[listed ? static_cast<std::size_t>(type) : static_cast<std::size_t>(SCM_NUM)];
}

const SCMCategoryClasses::Category& SCMCategoryClasses::of(const std::string& className) const {
    for (std::size_t value = 0; value < categories_.size(); ++value) {
        if (className == names_[value]) return categories_[value];
    }
    auto found = others_.find(className);
    if (found == others_.end()) found = others_.emplace(className, lookUp(className)).first;
    return found->second;
}

}  // namespace SCM
