#pragma once

#include <cstddef>
#include <functional>
#include <string>

#include "SCMRunRecord.hpp"

namespace SCM {

// What one run did with a block of entries of one category whose checksums fall in one bucket:
// the text of one stored provenance row. Writing a row per block instead of a row per entry
// keeps recording a run cheap next to registering its entries, and the bucket, indexed, lets a
// reader of one entry's history read about 1/kBuckets of the rows.
//
// The text has a line per entry, in the order recorded: the checksum, the outcome's name and
// each of a clash's differences, separated by tabs. Inside a field a backslash, a tab and a
// newline are written as \\, \t and \n.
class SCMRunEntryBlock {
public:
    static constexpr unsigned kBuckets = 64;
    // A block is written when it holds this many entries, and at the end of the run.
    static constexpr std::size_t kMostEntries = 64;

    // The bucket of `checksum`, 0 to kBuckets - 1: a hash of all its bytes, so that any
    // checksum text spreads evenly. Stored as decimal text; the numbers are fixed.
    static unsigned bucketOf(const std::string& checksum);

    void add(const SCMRunEntry& entry);
    std::size_t size() const { return size_; }
    // The text of the entries added since the last call; the block is then empty.
    std::string take();

    // Calls `visit` with each entry of a block text, `run` and `category` filled in. False at
    // the first line that is not an entry (an unknown outcome, a bad escape), after visiting
    // the lines before it.
    static bool forEachEntry(const std::string& text, const std::string& run, const std::string& category,
                             const std::function<void(const SCMRunEntry&)>& visit);

private:
    std::string text_;
    std::size_t size_ = 0;
};

}  // namespace SCM
