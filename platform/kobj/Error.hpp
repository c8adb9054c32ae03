#pragma once

#include <cstddef>
#include <optional>
#include <stdexcept>
#include <string>

class qaArray;

namespace kobj {

// The one exception type of the class system. identifier() is stable and meant for programs
// ("kobj:errorMustBeString"); what() is a sentence for people. index() names the zero-based
// element of an array argument that failed, when there is one.
class Error : public std::runtime_error {
public:
    Error(std::string identifier, const std::string& message,
          std::optional<std::size_t> index = std::nullopt);

    const std::string& identifier() const { return identifier_; }
    const std::optional<std::size_t>& index() const { return index_; }

private:
    std::string identifier_;
    std::optional<std::size_t> index_;
};

// The class system's conversion errors. Each returns the exception to throw; `value` is the
// offending value (its class and size go into the message).

// "kobj:errorMustBeString": a text (character row) was expected.
Error errorMustBeString(const qaArray& value);
// The same for element `index` (zero-based) of a cell array.
Error errorMustBeString(const qaArray& element, std::size_t index);
// "kobj:errorMustBeCellArray": a cell array of texts was expected.
Error errorMustBeCellArray(const qaArray& value);
// "kobj:errorMustBeLogicalScalar", "kobj:errorMustBeInt32Scalar", "kobj:errorMustBeUInt32Scalar":
// a scalar of that class (or an integer of the other integer class that fits) was expected.
Error errorMustBeLogicalScalar(const qaArray& value);
Error errorMustBeInt32Scalar(const qaArray& value);
Error errorMustBeUInt32Scalar(const qaArray& value);
// "kobj:errorMustBeObject": an object of the published class `className` (or of a subclass) was
// expected; `found` says what came instead, `index` names the element of an object array.
Error errorMustBeObject(const std::string& className, const std::string& found,
                        std::optional<std::size_t> index = std::nullopt);

// "kobj:notAnObject": the value is not one object of a published class.
Error errorNotAnObject(const qaArray& value);

// How a value reads in messages: "char 1x5", "cell 3x1", "SharedCodeManager.Data 1x1".
std::string describeValue(const qaArray& value);

}  // namespace kobj
