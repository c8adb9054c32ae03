#pragma once

namespace vrex {

// How a search constraint compares a text property with its value. Equals must stay first.
enum class PropertyValueMatchRelation {
    Equals,     // the stored text equals the value byte for byte; an unset property never matches
    NotEquals,  // the stored text differs from the value; an unset property always matches
};

}  // namespace vrex
