#include "SCMModuleEntry.hpp"

#include <memory>

#include "BuildInfo.hpp"
#include "kobj/COSClient.hpp"
#include "kobj/COSPackage.hpp"
#include "package/SharedCodeManagerPackage.hpp"
#include "vrex/WaitInterrupt.hpp"

namespace {

// One-shot flags: each entry point acts at most once per load.
bool initialized = false;
bool terminated = false;

const HxFcnTable functionTable = {nullptr, 0, SCM_BUILD_TIME, SCM_VERSION_NUMBER};

}  // namespace

extern "C" {

const HxModuleBuildInfo HxBuildInfo_shared_code_manager = {SCM_BUILD_DATE, SCM_VERSION_TEXT};

void HxInitialize_shared_code_manager() {
    if (initialized) return;
    initialized = true;
    kobj::COSPackage::addPackage(std::make_unique<SCM::SharedCodeManagerPackage>());
}

void HxTerminate_shared_code_manager() {
    if (terminated) return;
    terminated = true;
    kobj::COSPackageInterface package =
        kobj::COSPackage::getPackageInterface(SCM::SharedCodeManagerPackage::kName);
    if (package) package.release(kobj::COSGetPublicClient());
}

void HxInterruptWaits_shared_code_manager() { vrex::interruptWaits(); }

void HxResumeWaits_shared_code_manager() { vrex::clearWaitInterrupt(); }

const HxFcnTable* QueryHxFcnTable_shared_code_manager() { return &functionTable; }

}  // extern "C"
