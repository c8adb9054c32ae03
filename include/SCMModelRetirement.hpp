#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

#include "SCMExport.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

class SCMCategoryClasses;
class SCMProvenanceClasses;

// Retires a model from a registry: removes it from every utility's model names and traceability
// (SCMBasicUtilityData::removeModel), and finds the entries nothing needs any more: utilities
// whose model list this made empty, and entries of other categories that only runs of that model
// (runs whose entries carried that model and no other) ever offered. Only entries whose creation
// a run recorded can be pruned: entries registered before runs were recorded, or by the library,
// never are, whatever runs merged into them since. It opens the registry itself, apart from any facade; storage errors never
// throw, they stay in the diagnostics `retire` takes. Belongs to one thread at a time.
class SCM_EXPORT SCMModelRetirement {
public:
    enum class Mode {
        DryRun,          // opens the registry for reading and changes nothing
        Retire,          // removes the model from the utilities
        RetireAndPrune,  // and deletes the unneeded entries that have provenance
    };
    // An entry nothing needs any more.
    struct Unneeded {
        std::string category;
        std::string checksum;
        std::string name;
        bool hasProvenance = false;  // a run recorded its creation: pruning deletes it
    };
    struct Outcome {
        std::vector<std::string> changedUtilities;  // the names of the utilities that named the model
        std::vector<Unneeded> unneeded;
        std::size_t pruned = 0;
    };

    // Opens `registry` (a file path or a postgresql:// URI) as `mode` needs. On failure isOpen()
    // is false and getOpenError() says why.
    SCMModelRetirement(const std::string& registry, Mode mode);
    ~SCMModelRetirement();
    SCMModelRetirement(const SCMModelRetirement&) = delete;
    SCMModelRetirement& operator=(const SCMModelRetirement&) = delete;

    bool isOpen() const;
    const std::string& getOpenError() const;

    // Retires `model` in one transaction (one read transaction for a dry run): what changed, or
    // would change. On error nothing is kept and `diagnostics` says why.
    Outcome retire(const std::string& model, tvdiag::util::diagnostics& diagnostics);

private:
    struct Found;
    void retireFromUtilities(const std::string& model, Found& found,
                             tvdiag::util::diagnostics& diagnostics);
    void findUnneeded(const std::string& model, Found& found, tvdiag::util::diagnostics& diagnostics);
    void addUnneeded(Unneeded unneeded, Found& found, tvdiag::util::diagnostics& diagnostics);

    Mode mode_;
    vrex::DataModelRepository repository_;
    std::string openError_;
    std::unique_ptr<const SCMCategoryClasses> categories_;  // null when not open
    std::unique_ptr<const SCMProvenanceClasses> provenance_;
};

}  // namespace SCM
