#pragma once

#include <string>

namespace SCM {

// While alive, appends every byte fed to any SCMChecksumDigest of this thread to a text the
// caller owns: the exact input of a checksum, for a person to read. Taps nest; the innermost one
// records. Internal to the library.
class SCMDigestTap {
public:
    // `bytes` must outlive the tap.
    explicit SCMDigestTap(std::string& bytes);
    ~SCMDigestTap();
    SCMDigestTap(const SCMDigestTap&) = delete;
    SCMDigestTap& operator=(const SCMDigestTap&) = delete;

    // The text the innermost tap of this thread records into; null when none is alive.
    static std::string* current();

private:
    std::string* previous_;
};

}  // namespace SCM
