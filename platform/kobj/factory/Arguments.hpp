#pragma once

#include <cstddef>
#include <string>
#include <type_traits>
#include <vector>

#include "kobj/Conversions.hpp"
#include "kobj/qaArray.hpp"

namespace kobj::factory {

// The arguments of one constructor or method call (the object itself not included), each with the
// type text its signature declares. Refers to both lists; lives only for the call.
class Arguments {
public:
    Arguments(const std::vector<qaArray>& values, const std::vector<std::string>& types,
              std::size_t firstType)
        : values_(values), types_(types), firstType_(firstType) {}

    std::size_t size() const { return values_.size(); }
    const qaArray& value(std::size_t index) const { return values_.at(index); }
    const std::string& type(std::size_t index) const { return types_.at(firstType_ + index); }

    // Argument `index` converted to T by Converter<T>; throws the converter's kobj::Error.
    // Objects come back borrowed from the argument value.
    template <class T>
    std::decay_t<T> get(std::size_t index) const {
        return Converter<std::decay_t<T>>::fromScript(value(index), type(index));
    }

private:
    const std::vector<qaArray>& values_;
    const std::vector<std::string>& types_;
    std::size_t firstType_;
};

}  // namespace kobj::factory
