#include "ScriptObject.hpp"

#include <pybind11/pybind11.h>

#include "kobj/ClassRecord.hpp"
#include "kobj/ObjectAccess.hpp"

namespace scmpy {

ScriptObject::ScriptObject(qaArray value, qaArray lender)
    : value_(std::move(value)),
      lender_(std::move(lender)),
      className_(kobj::classOf(value_).name()) {}

const qaArray& ScriptObject::value() const {
    if (released_) {
        throw pybind11::value_error("operation on a closed " + className_ + " object");
    }
    return value_;
}

void ScriptObject::release() {
    released_ = true;
    value_ = qaArray();
    lender_ = qaArray();
}

}  // namespace scmpy
