#include "SCMRunRecorder.hpp"

#include <array>
#include <cstdio>
#include <ctime>
#include <map>
#include <random>

#include "SCMProvenanceClasses.hpp"
#include "SCMRunEntryBlock.hpp"
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

// By category, a block per bucket.
struct SCMRunRecorder::PendingBlocks {
    std::map<std::string, std::array<SCMRunEntryBlock, SCMRunEntryBlock::kBuckets>> byCategory;
};

SCMRunRecorder::SCMRunRecorder(SCMVrexDataAdapter& adapter)
    : adapter_(adapter),
      classes_(std::make_unique<SCMProvenanceClasses>(adapter.getDictionary())),
      pending_(std::make_unique<PendingBlocks>()) {}

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
    const unsigned bucket = SCMRunEntryBlock::bucketOf(entry.checksum);
    SCMRunEntryBlock& block = pending_->byCategory[entry.category][bucket];
    block.add(entry);
    return block.size() < SCMRunEntryBlock::kMostEntries || writeBlock(entry.run, entry.category, bucket, block);
}

bool SCMRunRecorder::recordRun(const SCMRun& run) {
    for (auto& [category, blocks] : pending_->byCategory) {
        for (unsigned bucket = 0; bucket < blocks.size(); ++bucket) {
            if (blocks[bucket].size() != 0 && !writeBlock(run.id, category, bucket, blocks[bucket])) return false;
        }
    }
    pending_->byCategory.clear();
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    SCMProvenanceClasses::create(adapter_.getDictionary(), classes_->runClass(),
                                 classes_->runProperties(), SCMProvenanceClasses::runTexts(run),
                                 diagnostics);
    return keep(diagnostics);
}

bool SCMRunRecorder::writeBlock(const std::string& run, const std::string& category, unsigned bucket,
                                SCMRunEntryBlock& block) {
    auto diagnostics = tvdiag::util::diagnostics::getEmptyInstance();
    SCMProvenanceClasses::create(adapter_.getDictionary(), classes_->entryClass(), classes_->entryProperties(),
                                 SCMProvenanceClasses::blockTexts(run, category, bucket, block.take()),
                                 diagnostics);
    return keep(diagnostics);
}

}  // namespace SCM
