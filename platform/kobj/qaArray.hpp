#pragma once

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

namespace tv::mi {
class Handle;
}

// A value of the scripting environment: what crosses the border between the library and scripts,
// and what the dictionary stores in its object properties. A plain value type; copies share the
// objects they refer to.
//
// Kinds and shapes:
//   Empty    []            0 x 0, class "double"
//   Char     character row 1 x n (n may be 0), class "char"; 8-bit bytes, NULs allowed
//   Logical  scalar        1 x 1, class "logical"
//   Int32    scalar        1 x 1, class "int32"
//   UInt32   scalar        1 x 1, class "uint32"
//   Cell     column        n x 1 of values, class "cell"
//   Object   row           1 x n of published objects (0 x 0 for an empty value of a class),
//                          class = the published class the class system settled
class qaArray {
public:
    enum class Kind { Empty, Char, Logical, Int32, UInt32, Cell, Object };

    // An element of an object value. Whether it owns the object depends on how it was made:
    // see borrow() and adopt().
    using ObjectPtr = std::shared_ptr<tv::mi::Handle>;

    qaArray();  // []

    static qaArray fromText(std::string text);
    static qaArray fromLogical(bool value);
    static qaArray fromInt32(std::int32_t value);
    static qaArray fromUInt32(std::uint32_t value);
    static qaArray cellColumn(std::vector<qaArray> elements);
    static qaArray objectRow(std::string className, std::vector<ObjectPtr> objects);
    static qaArray emptyObject(std::string className);  // 0 x 0 of a published class

    // A pointer that refers to `object` without owning it: valid while the object lives.
    static ObjectPtr borrow(tv::mi::Handle* object);
    // A pointer that owns `object` (deletes it with the last copy) until release() takes it back.
    static ObjectPtr adopt(tv::mi::Handle* object);
    // Hands an adopted object to the caller, who then owns it: no copy of `object` deletes it any
    // more. Returns null (and changes nothing) for a borrowed or already released object.
    static tv::mi::Handle* release(const ObjectPtr& object);

    Kind kind() const { return kind_; }
    std::size_t rows() const { return rows_; }
    std::size_t cols() const { return cols_; }
    std::size_t numel() const { return rows_ * cols_; }
    bool isEmpty() const { return numel() == 0; }
    const std::string& className() const;

    // Typed access; each throws std::logic_error when the value is of another kind. On a value
    // about to be discarded (an rvalue), text() and cells() move the contents out instead of
    // copying them; the value is left with an unspecified text or cells.
    const std::string& text() const&;
    std::string text() &&;
    bool logical() const;
    std::int32_t int32Value() const;
    std::uint32_t uint32Value() const;
    const std::vector<qaArray>& cells() const&;
    std::vector<qaArray> cells() &&;
    const std::vector<ObjectPtr>& objects() const;
    // Element i of an object value (bounds-checked), null when that element is absent.
    tv::mi::Handle* object(std::size_t index = 0) const;

    // Lets the class system settle the class of an object row (the common class of its elements).
    void setClassName(std::string className);

private:
    // A value of a kind other than Object, whose class name follows from its kind.
    qaArray(Kind kind, std::size_t rows, std::size_t cols);
    qaArray(std::size_t rows, std::size_t cols, std::string className);  // an object value
    void requireKind(Kind expected, const char* what) const;

    Kind kind_;
    std::size_t rows_;
    std::size_t cols_;
    std::string className_;  // object values only
    std::string text_;
    std::int64_t scalar_ = 0;
    std::vector<qaArray> cells_;
    std::vector<ObjectPtr> objects_;
};
