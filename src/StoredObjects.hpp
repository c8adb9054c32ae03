#pragma once

#include <memory>

#include "SCMData.hpp"
#include "SCMIdentity.hpp"
#include "kobj/qaArray.hpp"
#include "tv/Handle.hpp"

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
    std::unique_ptr<tv::mi::Handle> handle(tv::mi::Handle::releaseFromScriptValue(value, className));
    T* object = dynamic_cast<T*>(handle.get());
    if (object != nullptr) handle.release();
    return std::unique_ptr<T>(object);
}

inline std::unique_ptr<SCMIdentity> takeStoredIdentity(const qaArray& value) {
    return takeStoredObject<SCMIdentity>(value, "SharedCodeManager.Identity");
}

inline std::unique_ptr<SCMData> takeStoredData(const qaArray& value) {
    return takeStoredObject<SCMData>(value, "SharedCodeManager.Data");
}

}  // namespace SCM
