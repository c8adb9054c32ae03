#pragma once

// The registrations the reliability programs make: for each key number a deterministic entry of
// one of the six categories, whose record depends on who contributes it, so that registering one
// key from several contributors merges and grows the stored record.

#include <memory>
#include <string>
#include <vector>

#include "shared_code_manager.hpp"

namespace reliability {

// One registration: the key and the record a contributor offers for it. Both owned.
struct Contribution {
    std::unique_ptr<SCM::SCMIdentity> identity;
    std::unique_ptr<SCM::SCMData> data;
};

// Key number k belongs to category categoryOf(k); the six categories take turns.
SCM::SCMTypes categoryOf(unsigned key);

// What `contributor` (a short tag such as "p3" or "r7s12") registers for key number `key`:
//  - utilities add the contributor to ModelNames and a traceability entry "<contributor>:blk<k>";
//  - SCM_OTHER entries are multiword function lists that gain "mw<k>_<contributor>";
//  - constants are switched on for generation by some contributors;
//  - shared functions, types and data are equal for every contributor (merges keep them).
// Every other field is a function of the key alone, so the merge of any set of contributions
// does not depend on their order, except for the order of the grown lists.
Contribution contribution(unsigned key, const std::string& contributor);

// The record that merging `contributors`' records for `key` by the merge rules gives: the first
// record, updated with each following one. Null for no contributors.
std::unique_ptr<SCM::SCMData> mergedRecord(unsigned key, const std::vector<std::string>& contributors);

// A text that is equal for two records exactly when they hold the same class and fields, with the
// lists that merges grow (model names, multiword functions) taken in sorted order.
std::string canonical(const SCM::SCMData& record);

}  // namespace reliability
