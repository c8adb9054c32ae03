#include "kobj/Error.hpp"

#include "kobj/qaArray.hpp"

namespace kobj {

Error::Error(std::string identifier, const std::string& message, std::optional<std::size_t> index)
    : std::runtime_error(message), identifier_(std::move(identifier)), index_(index) {}

std::string describeValue(const qaArray& value) {
    return value.className() + " " + std::to_string(value.rows()) + "x" +
           std::to_string(value.cols());
}

namespace {

// "Value must be <expected>; it is <value>."
Error valueError(const char* identifier, const std::string& expected, const qaArray& value) {
    return Error(identifier, "Value must be " + expected + "; it is " + describeValue(value) + ".");
}

}  // namespace

Error errorMustBeString(const qaArray& value) {
    return valueError("kobj:errorMustBeString", "a character vector (text)", value);
}

Error errorMustBeString(const qaArray& element, std::size_t index) {
    return Error("kobj:errorMustBeString",
                 "Element " + std::to_string(index) +
                     " of the cell array must be a character vector (text); it is " +
                     describeValue(element) + ".",
                 index);
}

Error errorMustBeCellArray(const qaArray& value) {
    return valueError("kobj:errorMustBeCellArray", "a cell array of character vectors", value);
}

Error errorMustBeLogicalScalar(const qaArray& value) {
    return valueError("kobj:errorMustBeLogicalScalar", "a logical scalar", value);
}

Error errorMustBeInt32Scalar(const qaArray& value) {
    return valueError("kobj:errorMustBeInt32Scalar", "an integer scalar in the int32 range", value);
}

Error errorMustBeUInt32Scalar(const qaArray& value) {
    return valueError("kobj:errorMustBeUInt32Scalar", "an integer scalar in the uint32 range",
                      value);
}

Error errorMustBeObject(const std::string& className, const std::string& found,
                        std::optional<std::size_t> index) {
    std::string subject =
        index ? "Element " + std::to_string(*index) + " of the object array" : "Value";
    return Error("kobj:errorMustBeObject",
                 subject + " must be an object of class " + className + "; it is " + found + ".",
                 index);
}

Error errorNotAnObject(const qaArray& value) {
    return valueError("kobj:notAnObject", "one object of a published class", value);
}

}  // namespace kobj
