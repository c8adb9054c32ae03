#include "vrex/ObjectCodec.hpp"

namespace vrex {

ObjectCodec::~ObjectCodec() = default;

std::unique_ptr<tv::mi::Handle> ObjectCodec::decodeObject(const std::string& text, const char* className) const {
    return std::unique_ptr<tv::mi::Handle>(tv::mi::Handle::releaseFromScriptValue(decode(text), className));
}

}  // namespace vrex
