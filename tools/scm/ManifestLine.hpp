#pragma once

#include <string>

#include "OwnedEntry.hpp"

// One line of a manifest (JSON Lines): an entry to register, written
//
//   {"identity": {"class": "SharedFunctionIdentity", "ChecksumElement1": 1, ...},
//    "data": {"class": "SharedFunctionData", "Name": "rt_add", ...}}
//
// Each half is the library's whole-object encoding: "class" names the published class, the other
// members are published properties (texts, true/false, integers, lists of texts); properties not
// given keep the defaults of the class's restoring constructor. "class" may leave out the package
// prefix "SharedCodeManager.". Texts are bytes: each character stands for the byte of its code
// point, so only U+0000 to U+00FF can be written. docs/manifest.md describes the format.
namespace scm_tool {

// Reads one manifest line into `entry`, in one pass (ManifestHalves.hpp), then checks it by the
// rules of ManifestRules.hpp. Returns false, with `entry` empty and `problem` saying what is wrong
// (a sentence without the file and line, naming the property at fault, quoting at most a short
// excerpt of the line), when the line is not an entry.
bool parseManifestLine(const std::string& line, OwnedEntry& entry, std::string& problem);

// The manifest line of an entry, without the line end, with full class names. Registering it
// rebuilds objects with equal fields, the identity's checksum included.
std::string manifestLine(SCM::SCMIdentity& identity, SCM::SCMData& data);

}  // namespace scm_tool
