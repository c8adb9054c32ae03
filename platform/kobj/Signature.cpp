#include "kobj/Signature.hpp"

namespace kobj {

namespace {

const std::string kVectorSuffix = " vector";

bool endsWithVector(const std::string& text) {
    return text.size() > kVectorSuffix.size() &&
           text.compare(text.size() - kVectorSuffix.size(), kVectorSuffix.size(), kVectorSuffix) ==
               0;
}

std::string joined(const std::vector<std::string>& parts) {
    std::string text;
    for (const std::string& part : parts) {
        if (!text.empty()) text += ", ";
        text += part;
    }
    return text;
}

}  // namespace

TypeCategory categoryOf(const std::string& typeText) {
    if (typeText == types::kChar || typeText == types::kCharVector) return TypeCategory::Text;
    if (typeText == types::kLogicalScalar) return TypeCategory::Logical;
    if (typeText == types::kUInt32Scalar) return TypeCategory::UInt32;
    if (typeText == types::kInt32Scalar) return TypeCategory::Int32;
    if (typeText == types::kCell) return TypeCategory::Cell;
    return endsWithVector(typeText) ? TypeCategory::ObjectVector : TypeCategory::Object;
}

std::string objectClassOf(const std::string& typeText) {
    if (!endsWithVector(typeText)) return typeText;
    return typeText.substr(0, typeText.size() - kVectorSuffix.size());
}

std::string Signature::toString(const std::string& name) const {
    std::string text;
    if (results.size() == 1) text = results.front() + " = ";
    if (results.size() > 1) text = "[" + joined(results) + "] = ";
    return text + name + "(" + joined(arguments) + ")";
}

}  // namespace kobj
