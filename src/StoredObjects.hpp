#pragma once

#include <exception>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "SCMCategoryClasses.hpp"
#include "SCMData.hpp"
#include "SCMIdentity.hpp"
#include "kobj/qaArray.hpp"
#include "kobj/Handle.hpp"
#include "kobj/HandleCast.hpp"
#include "tvdiag/diagnostics.hpp"
#include "vrex/DataModelRepository.hpp"
#include "vrex/ObjectCodec.hpp"

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

// The object of a stored text as the repository's object codec reads it, when it is an object of
// the published class `className` that is a T; null for an unset or undecodable text. The caller
// owns the result.
template <typename T>
std::unique_ptr<T> decodeStoredText(const std::optional<std::string>& text, const char* className) {
    static const std::shared_ptr<const vrex::ObjectCodec> codec = vrex::defaultObjectCodec();
    if (!text || !codec) return nullptr;
    try {
        std::unique_ptr<tv::mi::Handle> object = codec->decodeObject(*text, className);
        T* typed = tv::mi::handleCast<T>(object.get());
        if (typed != nullptr) object.release();
        return std::unique_ptr<T>(typed);
    } catch (const std::exception&) {  // a text that is no encoding of a known class
        return nullptr;
    }
}

// The text the repository's object codec makes of `object`; "" when it cannot encode it.
inline std::string encodeStoredObject(tv::mi::Handle& object) {
    static const std::shared_ptr<const vrex::ObjectCodec> codec = vrex::defaultObjectCodec();
    if (!codec) return std::string();
    try {
        return codec->encode(object.toScriptValue());
    } catch (const std::exception&) {
        return std::string();
    }
}

inline std::unique_ptr<SCMIdentity> takeStoredIdentity(const qaArray& value) {
    return takeStoredObject<SCMIdentity>(value, "SharedCodeManager.Identity");
}

inline std::unique_ptr<SCMData> takeStoredData(const qaArray& value) {
    return takeStoredObject<SCMData>(value, "SharedCodeManager.Data");
}

// Calls `visit` with every object of `entryClass` and the stored texts of `properties`, in id
// order, read a few thousand at a time (one round trip each on a server); stops at the first
// error, which stays in `diagnostics`. Call it inside a read transaction or dictionary function,
// so that every page sees the same state.
using StoredObjectVisitor = std::function<void(const vrex::StoredObject&)>;
void walkStoredTexts(vrex::DataModelRepository& repository, const vrex::ClassRef& entryClass,
                     const std::vector<vrex::PropertyRef>& properties,
                     const StoredObjectVisitor& visit, tvdiag::util::diagnostics& diagnostics);

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
