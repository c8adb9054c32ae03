#include "OpenRegistry.hpp"

#include "ExitCode.hpp"

namespace scm_tool {

OpenRegistry::OpenRegistry(const std::string& path)
    : path_(SCM::getPrintableRegistryName(path)),
      facade_(std::make_unique<SCM::SharedCodeManagerInterface>()),
      adapter_(new SCM::SCMVrexDataAdapter(path, SCM::getMetaModelFile(),
                                           SCM::SCMVrexDataAdapter::OpenMode::Writable)) {
    facade_->setDataAdapter(adapter_);
    if (!adapter_->doesExist()) {
        throw ToolError("cannot open the registry: " + adapter_->getOpenError());
    }
}

void OpenRegistry::discard() {
    facade_.reset();  // deletes the adapter, which closes the dictionary
    adapter_ = nullptr;
}

}  // namespace scm_tool
