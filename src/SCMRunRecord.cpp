#include "SCMRunRecord.hpp"

namespace SCM {

namespace {

constexpr SCMRunOutcome kOutcomes[] = {SCMRunOutcome::Created, SCMRunOutcome::Merged,
                                       SCMRunOutcome::Unchanged, SCMRunOutcome::Clash};

}  // namespace

const char* runOutcomeName(SCMRunOutcome outcome) {
    switch (outcome) {
        case SCMRunOutcome::Created: return "created";
        case SCMRunOutcome::Merged: return "merged";
        case SCMRunOutcome::Unchanged: return "unchanged";
        case SCMRunOutcome::Clash: break;
    }
    return "clash";
}

bool runOutcomeFromName(const std::string& name, SCMRunOutcome& outcome) {
    for (SCMRunOutcome candidate : kOutcomes) {
        if (name == runOutcomeName(candidate)) {
            outcome = candidate;
            return true;
        }
    }
    return false;
}

}  // namespace SCM
