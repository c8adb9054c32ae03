#include "Registration.hpp"

#include <memory>

#include "SCMRegistry.hpp"

namespace scm_tool {

namespace {

const char* outcomeWord(Outcome outcome) {
    switch (outcome) {
        case Outcome::Registered: return "registered";
        case Outcome::Merged: return "merged";
        case Outcome::Unchanged: return "unchanged";
        case Outcome::Clash: return "clash";
        case Outcome::Error: break;
    }
    return "error";
}

}  // namespace

// Why the registry refused to store an entry: its own words when it gave any.
std::string Registration::storeError(SCM::SCMRegistry outcome) const {
    const std::string& reason = registry_.adapter().getLastError();
    return reason.empty() ? SCM::scmRegistryToString(outcome) : reason;
}

Registration::Registration(OpenRegistry& registry, RegistrationReport& report,
                           ProgressBar& progress, std::ostream* verbose, bool stopAtStoreError,
                           RunRecord* run)
    : registry_(registry),
      report_(report),
      progress_(progress),
      verbose_(verbose),
      run_(run),
      stopAtStoreError_(stopAtStoreError) {}

void Registration::registerManifest(std::istream& in, const std::string& source) {
    ManifestReader reader(in);
    ManifestItem item;
    while (!stopped_ && reader.next(item)) {
        registerItem(source, item);
        progress_.update(++entries_, bytesBefore_ + reader.bytesRead());
    }
    bytesBefore_ += reader.bytesRead();
}

void Registration::reportUnreadable(const std::string& source, const std::string& reason) {
    ReportedEntry reported;
    reported.place.source = source;
    reported.message = "cannot read the manifest: " + reason;
    record(std::move(reported));
}

void Registration::registerItem(const std::string& source, ManifestItem& item) {
    ReportedEntry reported;
    reported.place.source = source;
    reported.place.line = item.line;
    if (!item.problem.empty()) {
        reported.message = item.problem;
        return record(std::move(reported));
    }
    reported.outcome = registerEntry(item.entry, reported);
    record(std::move(reported), item.entry.data.get());
}

// Registers one decoded entry; for a clash, also reads the stored record to say what differs.
Outcome Registration::registerEntry(OwnedEntry& entry, ReportedEntry& reported) {
    reported.place.category = entry.identity->getTypeString();
    reported.place.key = entry.identity->getChecksum();
    reported.place.name = entry.data->getName();
    const SCM::SCMRegistry outcome =
        registry_.facade().registerDataInTransaction(entry.identity.get(), entry.data.get());
    switch (outcome) {
        case SCM::IS_REGISTERED: return Outcome::Registered;
        case SCM::IS_PRESENT_UPDATE:
            return registry_.adapter().didLastMergeChange() ? Outcome::Merged : Outcome::Unchanged;
        case SCM::IS_PRESENT_ERROR: {
            // Fresh from the dictionary: ours to delete.
            std::unique_ptr<SCM::SCMData> stored(
                registry_.facade().retrieveData(entry.identity.get()));
            if (stored != nullptr) {
                reported.place.name = stored->getName();
                reported.differences = differences(*stored, *entry.data);
            }
            return Outcome::Clash;
        }
        default:
            reported.message = "the registry could not store the entry: " + storeError(outcome);
            stopped_ = stopAtStoreError_;
            return Outcome::Error;
    }
}

// `offered`: the entry's record, when it reached the registry.
void Registration::record(ReportedEntry reported, SCM::SCMData* offered) {
    if (run_ != nullptr && offered != nullptr) run_->addEntry(reported, *offered);
    if (verbose_ != nullptr) {
        *verbose_ << describeEntry(reported.place, outcomeWord(reported.outcome)) << '\n';
    }
    if (reported.outcome != Outcome::Clash && reported.outcome != Outcome::Error) {
        report_.count(reported.outcome);
    } else {
        report_.add(std::move(reported));
    }
}

}  // namespace scm_tool
