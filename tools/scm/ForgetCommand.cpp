#include <iostream>

#include "Commands.hpp"
#include "SCMModelRetirement.hpp"
#include "SCMVrexDataAdapter.hpp"
#include "ValueText.hpp"

namespace scm_tool {

namespace {

using Retirement = SCM::SCMModelRetirement;

Retirement::Mode modeOf(const ForgetOptions& options) {
    if (options.dryRun || (!options.apply && !options.prune)) return Retirement::Mode::DryRun;
    return options.prune ? Retirement::Mode::RetireAndPrune : Retirement::Mode::Retire;
}

// What becomes of an unneeded entry in this mode.
std::string fate(const Retirement::Unneeded& entry, Retirement::Mode mode) {
    if (!entry.hasProvenance) return "kept: no run recorded its creation, so nothing shows what else needs it";
    if (mode == Retirement::Mode::RetireAndPrune) return "deleted";
    return "--prune deletes it";
}

void printOutcome(const std::string& model, const Retirement::Outcome& outcome, Retirement::Mode mode) {
    const bool dryRun = mode == Retirement::Mode::DryRun;
    std::cout << "model " << quotedText(model) << (dryRun ? ": would be removed from " : ": removed from ")
              << outcome.changedUtilities.size() << " utilities\n";
    for (const std::string& name : outcome.changedUtilities) std::cout << "  " << quotedText(name) << '\n';
    std::cout << "entries nothing needs any more: " << outcome.unneeded.size() << '\n';
    for (const Retirement::Unneeded& entry : outcome.unneeded) {
        std::cout << "  " << entry.category << " key " << quotedText(entry.checksum) << " name "
                  << quotedText(entry.name) << ": " << fate(entry, mode) << '\n';
    }
    if (dryRun) {
        std::cout << "dry run: nothing was changed (--apply retires the model, --prune also deletes "
                     "the entries nothing needs)\n";
    } else if (mode == Retirement::Mode::RetireAndPrune) {
        std::cout << "deleted " << outcome.pruned << " entries\n";
    }
}

}  // namespace

int runForget(const ForgetOptions& options) {
    if (options.model.empty()) throw ToolError("forget needs a model name (--model NAME)");
    const Retirement::Mode mode = modeOf(options);
    Retirement retirement(options.registry, mode);
    if (!retirement.isOpen()) throw ToolError("cannot open the registry: " + retirement.getOpenError());
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    const Retirement::Outcome outcome = retirement.retire(options.model, diagnostics);
    if (!diagnostics.empty()) {
        throw ToolError("nothing was changed: " + diagnostics.messages());
    }
    std::cout << "registry: " << SCM::getPrintableRegistryName(options.registry) << '\n';
    printOutcome(options.model, outcome, mode);
    return kExitOk;
}

}  // namespace scm_tool
