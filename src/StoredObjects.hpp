#pragma once

#include <memory>

#include "SCMCategoryClasses.hpp"
#include "SCMData.hpp"
#include "SCMIdentity.hpp"
#include "kobj/qaArray.hpp"
#include "kobj/Handle.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"

namespace SCM {

// The properties of the dictionary object that holds one entry.
inline constexpr const char* kChecksumProperty = "Checksum";
inline constexpr const char* kNameProperty = "Name";
inline constexpr const char* kIdentityProperty = "Identity";
inline constexpr const char* kDataProperty = "Data";

// The object a value read from the dictionary holds, when the value owns an object of the
// published class `className` that is a T; null otherwise (the value then still owns whatever it
// held). The caller owns the result.
template <typename T>
std::unique_ptr<T> takeStoredObject(const qaArray& value, const char* className) {
    return tv::mi::releaseScriptObjectAs<T>(value, className);
}

inline std::unique_ptr<SCMIdentity> takeStoredIdentity(const qaArray& value) {
    return takeStoredObject<SCMIdentity>(value, "SharedCodeManager.Identity");
}

inline std::unique_ptr<SCMData> takeStoredData(const qaArray& value) {
    return takeStoredObject<SCMData>(value, "SharedCodeManager.Data");
}

// Creates the dictionary object of a new entry of `category` and sets, in this order,
// "Checksum", "Name" (when the class declares it), "Identity" and "Data". Stops at the first
// error it meets (errors already in `diagnostics` do not stop it), which stays in `diagnostics`:
// the enclosing dictionary function then rolls the object back. Returns the object, null when
// it could not be created.
vrex::ObjectRef createStoredEntry(vrex::DataModelRepository& repository,
                                  const SCMCategoryClasses::Category& category,
                                  SCMIdentity& identity, SCMData& data,
                                  tvdiag::util::diagnostics& diagnostics);

}  // namespace SCM
