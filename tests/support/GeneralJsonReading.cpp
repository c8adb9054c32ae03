#include "support/GeneralJsonReading.hpp"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <nlohmann/json.hpp>

#include "kobj/JsonEscaping.hpp"

namespace kobjtest {

namespace {

using kobj::EncodedObject;
namespace json = kobj::json;

using Json = nlohmann::json;

// Builds an EncodedObject from the parser's events. Every event that does not fit the encoding's
// shape answers false, which stops the parser at once.
class EncodedObjectHandler {
public:
    explicit EncodedObjectHandler(EncodedObject& object) : object_(object) {}

    bool complete() const { return depth_ == 0 && sawObject_ && !object_.className.empty(); }

    bool null() { return false; }
    bool boolean(bool value) { return addValue(qaArray::fromLogical(value)); }
    bool number_integer(Json::number_integer_t value) {
        if (value < std::numeric_limits<std::int32_t>::min() ||
            value > std::numeric_limits<std::int32_t>::max()) {
            return false;
        }
        return addValue(qaArray::fromInt32(static_cast<std::int32_t>(value)));
    }
    bool number_unsigned(Json::number_unsigned_t value) {
        if (value > std::numeric_limits<std::uint32_t>::max()) return false;
        return addValue(qaArray::fromUInt32(static_cast<std::uint32_t>(value)));
    }
    bool number_float(Json::number_float_t, const Json::string_t&) { return false; }
    bool binary(Json::binary_t&) { return false; }

    bool string(Json::string_t& value) {
        std::string bytes;
        if (!json::bytesFromUtf8(value, bytes)) return false;
        if (depth_ == 2) {
            cells_.push_back(qaArray::fromText(std::move(bytes)));
            return true;
        }
        if (depth_ == 1 && readingClass_) {
            object_.className = std::move(bytes);
            readingClass_ = false;
            return !object_.className.empty();
        }
        return addValue(qaArray::fromText(std::move(bytes)));
    }

    bool start_object(std::size_t) {
        if (depth_ != 0 || sawObject_) return false;
        sawObject_ = true;
        depth_ = 1;
        return true;
    }
    bool end_object() {
        if (depth_ != 1) return false;
        depth_ = 0;
        return true;
    }
    bool key(Json::string_t& name) {
        if (depth_ != 1 || isRepeated(name)) return false;
        readingClass_ = name == "class";
        if (readingClass_) {
            sawClassKey_ = true;
        } else {
            key_ = std::move(name);
        }
        return true;
    }
    bool start_array(std::size_t) {
        if (depth_ != 1 || readingClass_) return false;
        depth_ = 2;
        cells_.clear();
        return true;
    }
    bool end_array() {
        if (depth_ != 2) return false;
        depth_ = 1;
        return addValue(qaArray::cellColumn(std::move(cells_)));
    }

    bool parse_error(std::size_t, const std::string&, const nlohmann::detail::exception&) {
        return false;
    }

private:
    // A property value directly inside the top object (not the class name).
    bool addValue(qaArray value) {
        if (depth_ != 1 || readingClass_) return false;
        object_.properties.emplace_back(std::move(key_), std::move(value));
        return true;
    }

    bool isRepeated(const std::string& name) const {
        if (name == "class") return sawClassKey_;
        return std::any_of(object_.properties.begin(), object_.properties.end(),
                           [&](const auto& property) { return property.first == name; });
    }

    EncodedObject& object_;
    int depth_ = 0;  // 0 outside, 1 in the top object, 2 in an array value
    bool sawObject_ = false;
    bool sawClassKey_ = false;
    bool readingClass_ = false;
    std::string key_;
    std::vector<qaArray> cells_;
};

}  // namespace

bool readWithGeneralParser(const std::string& text, EncodedObject& object) {
    object = EncodedObject();
    EncodedObjectHandler handler(object);
    try {
        return Json::sax_parse(text, &handler) && handler.complete();
    } catch (const nlohmann::json::exception&) {
        return false;
    }
}

}  // namespace kobjtest
