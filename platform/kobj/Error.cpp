#include "kobj/Error.hpp"

#include "kobj/qaArray.hpp"

namespace kobj {

Error::Error(std::string identifier, const std::string& message,
             std::optional<std::size_t> index)
    : std::runtime_error(message), identifier_(std::move(identifier)), index_(index) {}

std::string describeValue(const qaArray& value) {
    return value.className() + " " + std::to_string(value.rows()) + "x" +
           std::to_string(value.cols());
}

Error errorMustBeString(const qaArray& value) {
    return Error("kobj:errorMustBeString",
                 "Value must be a character vector (text); it is " + describeValue(value) + ".");
}

Error errorMustBeString(const qaArray& element, std::size_t index) {
    return Error("kobj:errorMustBeString",
                 "Element " + std::to_string(index) +
                     " of the cell array must be a character vector (text); it is " +
                     describeValue(element) + ".",
                 index);
}

Error errorMustBeCellArray(const qaArray& value) {
    return Error("kobj:errorMustBeCellArray",
                 "Value must be a cell array of character vectors; it is " +
                     describeValue(value) + ".");
}

Error errorMustBeLogicalScalar(const qaArray& value) {
    return Error("kobj:errorMustBeLogicalScalar",
                 "Value must be a logical scalar; it is " + describeValue(value) + ".");
}

Error errorMustBeInt32Scalar(const qaArray& value) {
    return Error("kobj:errorMustBeInt32Scalar",
                 "Value must be an integer scalar in the int32 range; it is " +
                     describeValue(value) + ".");
}

Error errorMustBeUInt32Scalar(const qaArray& value) {
    return Error("kobj:errorMustBeUInt32Scalar",
                 "Value must be an integer scalar in the uint32 range; it is " +
                     describeValue(value) + ".");
}

Error errorMustBeObject(const std::string& className, const std::string& found,
                        std::optional<std::size_t> index) {
    std::string subject =
        index ? "Element " + std::to_string(*index) + " of the object array" : "Value";
    return Error("kobj:errorMustBeObject",
                 subject + " must be an object of class " + className + "; it is " + found +
                     ".",
                 index);
}

Error errorNotAnObject(const qaArray& value) {
    return Error("kobj:notAnObject", "Value must be one object of a published class; it is " +
                                         describeValue(value) + ".");
}

}  // namespace kobj
