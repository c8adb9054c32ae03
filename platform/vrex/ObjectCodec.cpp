#include "vrex/ObjectCodec.hpp"

namespace vrex {

ObjectCodec::~ObjectCodec() = default;

}  // namespace vrex
