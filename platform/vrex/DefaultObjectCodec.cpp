#include "vrex/ObjectCodec.hpp"

namespace vrex {

// Replaced by the class system's whole-object codec (kobj::encodeObject / kobj::decodeObject).
std::shared_ptr<const ObjectCodec> defaultObjectCodec() { return nullptr; }

}  // namespace vrex
