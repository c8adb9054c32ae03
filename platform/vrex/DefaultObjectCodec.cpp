#include "kobj/ObjectEncoding.hpp"
#include "vrex/ObjectCodec.hpp"

namespace vrex {

namespace {

// Object properties hold the class system's whole-object encoding (JSON text).
class ClassSystemCodec : public ObjectCodec {
public:
    std::string encode(const qaArray& value) const override { return kobj::encodeObject(value); }
    qaArray decode(const std::string& text) const override { return kobj::decodeObject(text); }
    std::unique_ptr<tv::mi::Handle> decodeObject(const std::string& text, const char* className) const override {
        std::string problem;
        return kobj::decodeOwnedObject(text, className, problem);
    }
};

}  // namespace

std::shared_ptr<const ObjectCodec> defaultObjectCodec() {
    static const auto codec = std::make_shared<const ClassSystemCodec>();
    return codec;
}

}  // namespace vrex
