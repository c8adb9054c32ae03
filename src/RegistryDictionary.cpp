#include "RegistryDictionary.hpp"

#include "SCMModuleEntry.hpp"
#include "vrex/Utf16.hpp"

namespace SCM {

std::unique_ptr<const SCMCategoryClasses> openRegistryDictionary(
    vrex::DataModelRepository& repository, const std::string& dictionaryFile,
    const std::string& metaModelFile, const vrex::DataModelRepository::Options& options,
    std::string& error) {
    HxInitialize_shared_code_manager();
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    repository.open(vrex::toUtf16(dictionaryFile), vrex::toUtf16(metaModelFile), options,
                    diagnostics);
    if (!diagnostics.empty()) {
        error = diagnostics.messages();
        return nullptr;
    }
    error.clear();
    return std::make_unique<SCMCategoryClasses>(
        repository.metamodel(diagnostics).findPackage("SCM"));
}

}  // namespace SCM
