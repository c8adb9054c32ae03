#include "digest/SCMDigestTap.hpp"

namespace SCM {

namespace {

thread_local std::string* tapped = nullptr;

}  // namespace

SCMDigestTap::SCMDigestTap(std::string& bytes) : previous_(tapped) { tapped = &bytes; }

SCMDigestTap::~SCMDigestTap() { tapped = previous_; }

std::string* SCMDigestTap::current() { return tapped; }

}  // namespace SCM
