#pragma once

#include <cstdint>
#include <istream>
#include <string>

#include "ManifestLine.hpp"

namespace scm_tool {

// One entry read from a manifest, or the reason its line is not one.
struct ManifestItem {
    std::size_t line = 0;  // 1-based line number in the manifest
    OwnedEntry entry;   // set when `problem` is empty
    std::string problem;
};

// Reads a JSON Lines manifest line by line: one entry per line, blank lines skipped, a CR before
// the line end ignored. A malformed line gives an item with its problem; reading goes on.
class ManifestReader {
public:
    // `in` stays the caller's and must outlive the reader.
    explicit ManifestReader(std::istream& in);

    // The next entry or malformed line; false at the end of the manifest.
    bool next(ManifestItem& item);
    // Bytes consumed so far, line ends included.
    std::uint64_t bytesRead() const { return bytesRead_; }

private:
    std::istream& in_;
    std::size_t lineNumber_ = 0;
    std::uint64_t bytesRead_ = 0;
    std::string line_;
};

}  // namespace scm_tool
