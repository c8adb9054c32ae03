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

// Reads one manifest line into `entry`. Returns false, with `problem` saying what is wrong (a
// sentence without the file and line), when the line is not an entry. A line written the usual
// way is read in one pass by the class system's reader (ManifestHalves.hpp); any other line, and
// every line that is not an entry, is read by parseManifestLineAsJson, whose answer it gives.
bool parseManifestLine(const std::string& line, OwnedEntry& entry, std::string& problem);

// The same, reading the line as general JSON first and each half as the whole-object encoding
// then: slower, but it says where a line is not valid JSON ("at column 15: ..."). Both readings
// accept the same entries and build equal objects from them.
bool parseManifestLineAsJson(const std::string& line, OwnedEntry& entry, std::string& problem);

// The manifest line of an entry, without the line end, with full class names. Registering it
// rebuilds objects with equal fields, the identity's checksum included.
std::string manifestLine(SCM::SCMIdentity& identity, SCM::SCMData& data);

}  // namespace scm_tool
