#pragma once

#include <string>

#include "OwnedEntry.hpp"
#include "kobj/EncodingReader.hpp"

// The rules of a manifest entry beyond the whole-object encoding: what the library would take
// silently (an unknown category text becomes a utility, a key text ends at its first NUL byte,
// any record goes with any identity) but a manifest must not say.
namespace scm_tool {

// Checks the identity half before it is decoded: a "Type" must be a category's enumerator name
// exactly, and the texts that feed the checksum (UtilityIdentifier, SymbolString,
// DesiredIdentifier) must hold no NUL byte. False, with `problem` naming the property, when one
// does not hold.
bool checkIdentityTexts(const kobj::EncodedObject& identity, std::string& problem);

// Checks that the record's class goes with the identity's category: each category of a specific
// kind takes its own record class, SCM_OTHER and SCM_NUM take any, and a GenericIdentity also
// takes the generic records (GenericData, MultiWordFcnData) in every category, as the library
// does. False, with `problem` saying which classes the category takes, when it does not.
bool checkRecordClass(const OwnedEntry& entry, std::string& problem);

}  // namespace scm_tool
