#pragma once

#include <memory>
#include <string>

#include "SCMCategoryClasses.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

// Opens the registry `dictionaryFile` described by `metaModelFile` into `repository`, with the
// library's classes known to the class system (entries are stored as its objects). Returns the
// category classes of the registry's package "SCM"; null when the registry could not be opened,
// with the repository's messages (which name the registry) in `error`.
std::unique_ptr<const SCMCategoryClasses> openRegistryDictionary(
    vrex::DataModelRepository& repository, const std::string& dictionaryFile,
    const std::string& metaModelFile, const vrex::DataModelRepository::Options& options,
    std::string& error);

}  // namespace SCM
