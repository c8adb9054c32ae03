#include "kobj/Conversions.hpp"

#include <limits>
#include <utility>

#include "kobj/ClassRegistry.hpp"

namespace kobj {

namespace {

bool isMissing(const qaArray& value) {
    return value.kind() == qaArray::Kind::Empty ||
           (value.kind() == qaArray::Kind::Object && value.isEmpty());
}

}  // namespace

std::string textFrom(const qaArray& value) {
    if (value.kind() != qaArray::Kind::Char) throw errorMustBeString(value);
    return value.text();
}

std::string textFrom(qaArray&& value) {
    if (value.kind() != qaArray::Kind::Char) throw errorMustBeString(value);
    return std::move(value).text();
}

std::vector<std::string> textListFrom(const qaArray& value) {
    if (value.kind() == qaArray::Kind::Empty) return {};
    if (value.kind() != qaArray::Kind::Cell) throw errorMustBeCellArray(value);
    return textListFrom(qaArray::cellColumn(value.cells()));
}

std::vector<std::string> textListFrom(qaArray&& value) {
    if (value.kind() == qaArray::Kind::Empty) return {};
    if (value.kind() != qaArray::Kind::Cell) throw errorMustBeCellArray(value);
    std::vector<qaArray> cells = std::move(value).cells();
    std::vector<std::string> texts;
    texts.reserve(cells.size());
    for (std::size_t i = 0; i < cells.size(); ++i) {
        if (cells[i].kind() != qaArray::Kind::Char) throw errorMustBeString(cells[i], i);
        texts.push_back(std::move(cells[i]).text());
    }
    return texts;
}

bool logicalFrom(const qaArray& value) {
    if (value.kind() != qaArray::Kind::Logical) throw errorMustBeLogicalScalar(value);
    return value.logical();
}

std::int32_t int32From(const qaArray& value) {
    if (value.kind() == qaArray::Kind::Int32) return value.int32Value();
    if (value.kind() == qaArray::Kind::UInt32 &&
        value.uint32Value() <=
            static_cast<std::uint32_t>(std::numeric_limits<std::int32_t>::max())) {
        return static_cast<std::int32_t>(value.uint32Value());
    }
    throw errorMustBeInt32Scalar(value);
}

std::uint32_t uint32From(const qaArray& value) {
    if (value.kind() == qaArray::Kind::UInt32) return value.uint32Value();
    if (value.kind() == qaArray::Kind::Int32 && value.int32Value() >= 0) {
        return static_cast<std::uint32_t>(value.int32Value());
    }
    throw errorMustBeUInt32Scalar(value);
}

qaArray textListValue(const std::vector<std::string>& texts) {
    return textListValue(std::vector<std::string>(texts));
}

qaArray textListValue(std::vector<std::string>&& texts) {
    std::vector<qaArray> cells;
    cells.reserve(texts.size());
    for (std::string& text : texts) cells.push_back(qaArray::fromText(std::move(text)));
    return qaArray::cellColumn(std::move(cells));
}

tv::mi::Handle* objectFrom(const qaArray& value, const std::string& className) {
    if (isMissing(value)) return nullptr;
    tv::mi::Handle* object = tv::mi::Handle::fromScriptValue(value, className.c_str());
    if (object == nullptr) throw errorMustBeObject(className, describeValue(value));
    return object;
}

std::vector<tv::mi::Handle*> objectsFrom(const qaArray& value, const std::string& className) {
    if (isMissing(value)) return {};
    if (value.kind() != qaArray::Kind::Object) {
        throw errorMustBeObject(className, describeValue(value));
    }
    ClassRegistry& registry = ClassRegistry::instance();
    std::vector<tv::mi::Handle*> objects;
    objects.reserve(value.numel());
    for (const qaArray::ObjectPtr& element : value.objects()) {
        if (element == nullptr || !registry.isInstanceOf(*element, className)) {
            std::string found =
                element == nullptr ? "an absent element" : element->getFullyQualifiedKobjTypeName();
            throw errorMustBeObject(className, found, objects.size());
        }
        objects.push_back(element.get());
    }
    return objects;
}

bool fitsType(const qaArray& value, const std::string& typeText) {
    // Converting is the one definition of what fits; the converted value is thrown away.
    try {
        switch (categoryOf(typeText)) {
            case TypeCategory::Text: textFrom(value); break;
            case TypeCategory::Logical: logicalFrom(value); break;
            case TypeCategory::UInt32: uint32From(value); break;
            case TypeCategory::Int32: int32From(value); break;
            case TypeCategory::Cell: textListFrom(value); break;
            case TypeCategory::Object: objectFrom(value, typeText); break;
            case TypeCategory::ObjectVector: objectsFrom(value, objectClassOf(typeText)); break;
        }
        return true;
    } catch (const Error&) {
        return false;
    }
}

qaArray neutralValue(const std::string& typeText) {
    switch (categoryOf(typeText)) {
        case TypeCategory::Text: return qaArray::fromText("");
        case TypeCategory::Logical: return qaArray::fromLogical(false);
        case TypeCategory::UInt32: return qaArray::fromUInt32(0);
        case TypeCategory::Int32: return qaArray::fromInt32(0);
        case TypeCategory::Cell: return qaArray::cellColumn({});
        case TypeCategory::Object:
        case TypeCategory::ObjectVector: break;
    }
    return qaArray();
}

}  // namespace kobj
