#include "SCMRunRecorder.hpp"

#include <cstdio>
#include <ctime>
#include <random>

#include "SCMProvenanceClasses.hpp"
#include "SCMVrexDataAdapter.hpp"

namespace SCM {

namespace {

std::string formatUtc(std::chrono::system_clock::time_point time, const char* format) {
    const std::time_t seconds = std::chrono::system_clock::to_time_t(time);
    std::tm utc{};
    gmtime_r(&seconds, &utc);
    char text[32];
    return std::string(text, std::strftime(text, sizeof text, format, &utc));
}

}  // namespace

SCMRunRecorder::SCMRunRecorder(SCMVrexDataAdapter& adapter)
    : adapter_(adapter),
      classes_(std::make_unique<SCMProvenanceClasses>(adapter.getDictionary())) {}

SCMRunRecorder::~SCMRunRecorder() = default;

std::string SCMRunRecorder::newRunId(std::chrono::system_clock::time_point start) {
    std::random_device random;
    char suffix[16];
    std::snprintf(suffix, sizeof suffix, "-%08x", static_cast<unsigned>(random()));
    return formatUtc(start, "%Y%m%dT%H%M%SZ") + suffix;
}

std::string SCMRunRecorder::utcText(std::chrono::system_clock::time_point time) {
    return formatUtc(time, "%Y-%m-%dT%H:%M:%SZ");
}

bool SCMRunRecorder::keep(const tvdiag::util::diagnostics& diagnostics) {
    if (diagnostics.empty()) return true;
    lastError_ = diagnostics.messages();
    return false;
}

bool SCMRunRecorder::recordEntry(const SCMRunEntry& entry) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    SCMProvenanceClasses::create(adapter_.getDictionary(), classes_->entryClass(), classes_->entryProperties(),
                                 SCMProvenanceClasses::entryTexts(entry), diagnostics);
    return keep(diagnostics);
}

bool SCMRunRecorder::recordRun(const SCMRun& run) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    SCMProvenanceClasses::create(adapter_.getDictionary(), classes_->runClass(),
                                 classes_->runProperties(), SCMProvenanceClasses::runTexts(run),
                                 diagnostics);
    return keep(diagnostics);
}

}  // namespace SCM
