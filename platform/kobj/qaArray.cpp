#include "kobj/qaArray.hpp"

#include <stdexcept>
#include <utility>

#include "kobj/Handle.hpp"

namespace {

// Deleter of adopted objects. release() flips `released` so that the last copy of the pointer
// no longer deletes what the new owner now holds.
struct ReleasableDeleter {
    bool released = false;
    void operator()(tv::mi::Handle* object) const {
        if (!released) delete object;
    }
};

// The class name of a value of a kind other than Object.
const std::string& kindClassName(qaArray::Kind kind) {
    static const std::string names[] = {"double", "char", "logical", "int32", "uint32", "cell"};
    return names[static_cast<int>(kind)];
}

}  // namespace

qaArray::qaArray() : qaArray(Kind::Empty, 0, 0) {}

qaArray::qaArray(Kind kind, std::size_t rows, std::size_t cols)
    : kind_(kind), rows_(rows), cols_(cols) {}

qaArray::qaArray(std::size_t rows, std::size_t cols, std::string className)
    : kind_(Kind::Object), rows_(rows), cols_(cols), className_(std::move(className)) {}

const std::string& qaArray::className() const {
    return kind_ == Kind::Object ? className_ : kindClassName(kind_);
}

qaArray qaArray::fromText(std::string text) {
    qaArray value(Kind::Char, 1, text.size());
    value.text_ = std::move(text);
    return value;
}

qaArray qaArray::fromLogical(bool flag) {
    qaArray value(Kind::Logical, 1, 1);
    value.scalar_ = flag ? 1 : 0;
    return value;
}

qaArray qaArray::fromInt32(std::int32_t number) {
    qaArray value(Kind::Int32, 1, 1);
    value.scalar_ = number;
    return value;
}

qaArray qaArray::fromUInt32(std::uint32_t number) {
    qaArray value(Kind::UInt32, 1, 1);
    value.scalar_ = number;
    return value;
}

qaArray qaArray::cellColumn(std::vector<qaArray> elements) {
    qaArray value(Kind::Cell, elements.size(), 1);
    value.cells_ = std::move(elements);
    return value;
}

qaArray qaArray::objectRow(std::string className, std::vector<ObjectPtr> objects) {
    qaArray value(1, objects.size(), std::move(className));
    value.objects_ = std::move(objects);
    return value;
}

qaArray qaArray::emptyObject(std::string className) {
    return qaArray(0, 0, std::move(className));
}

qaArray::ObjectPtr qaArray::borrow(tv::mi::Handle* object) {
    // Aliasing constructor with an empty owner: refers to `object`, owns nothing.
    return ObjectPtr(ObjectPtr(), object);
}

qaArray::ObjectPtr qaArray::adopt(tv::mi::Handle* object) {
    return ObjectPtr(object, ReleasableDeleter());
}

tv::mi::Handle* qaArray::release(const ObjectPtr& object) {
    auto* deleter = std::get_deleter<ReleasableDeleter>(object);
    if (deleter == nullptr || deleter->released) return nullptr;
    deleter->released = true;
    return object.get();
}

void qaArray::requireKind(Kind expected, const char* what) const {
    if (kind_ != expected) {
        throw std::logic_error(std::string("qaArray: value of class '") + className() +
                               "' is not " + what);
    }
}

const std::string& qaArray::text() const& {
    requireKind(Kind::Char, "a character array");
    return text_;
}

std::string qaArray::text() && {
    requireKind(Kind::Char, "a character array");
    return std::move(text_);
}

bool qaArray::logical() const {
    requireKind(Kind::Logical, "a logical scalar");
    return scalar_ != 0;
}

std::int32_t qaArray::int32Value() const {
    requireKind(Kind::Int32, "an int32 scalar");
    return static_cast<std::int32_t>(scalar_);
}

std::uint32_t qaArray::uint32Value() const {
    requireKind(Kind::UInt32, "a uint32 scalar");
    return static_cast<std::uint32_t>(scalar_);
}

const std::vector<qaArray>& qaArray::cells() const& {
    requireKind(Kind::Cell, "a cell array");
    return cells_;
}

std::vector<qaArray> qaArray::cells() && {
    requireKind(Kind::Cell, "a cell array");
    return std::move(cells_);
}

const std::vector<qaArray::ObjectPtr>& qaArray::objects() const {
    requireKind(Kind::Object, "an object array");
    return objects_;
}

tv::mi::Handle* qaArray::object(std::size_t index) const {
    return objects().at(index).get();
}

void qaArray::setClassName(std::string className) {
    requireKind(Kind::Object, "an object array");
    className_ = std::move(className);
}
