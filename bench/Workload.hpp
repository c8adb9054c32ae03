#pragma once

#include <cstdint>
#include <string>

// The benchmark registry's content, shared by the library's benchmarks and the raw-SQLite
// baselines so that both store the same entries. Entry i is a utility named "rt_util_<i>" (seven
// digits) with two model names, two children and two traceability entries: its stored row is
// about half a kilobyte. Nothing here calls the library.
namespace bench {

// The utility name (and identifier) of entry i.
std::string utilityName(std::uint64_t i);
// The model names, children and traceability entries of entry i; `model` is the first model
// name (a merge offers another one).
std::string modelName(std::uint64_t i, int which);
std::string childName(std::uint64_t i, int which);
std::string traceabilityEntry(std::uint64_t i, int which);

// A fixed permutation of 0..n-1: the order in which look-ups and merges visit stored entries,
// so that neighbouring names never share index pages by accident.
std::uint64_t scattered(std::uint64_t k, std::uint64_t n);

// Entries in a prepared store: 0..storedEntries-1 are utilities; the first storedEntries / 100
// (at least one) are also stored as shared functions, the category that retrieveAllData lists.
std::uint64_t listedEntries(std::uint64_t storedEntries);

}  // namespace bench
