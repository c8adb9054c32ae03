#include "kobj/COSPropInfo.hpp"

#include "kobj/JsonEscaping.hpp"

namespace kobj {

COSPropInfo::COSPropInfo(std::string name, std::string typeText, std::uint32_t attributes)
    : name_(std::move(name)), typeText_(std::move(typeText)), attributes_(attributes) {
    json::appendString(jsonName_, name_);
}

COSPropInfo::~COSPropInfo() = default;

bool COSPropInfo::appendEncoded(tv::mi::Handle&, std::string&) const { return false; }

bool COSPropInfo::setText(tv::mi::Handle&, std::string&&) const { return false; }

bool COSPropInfo::setTexts(tv::mi::Handle&, std::vector<std::string>&&) const { return false; }

bool COSPropInfo::setLogical(tv::mi::Handle&, bool) const { return false; }

bool COSPropInfo::setInteger(tv::mi::Handle&, std::int64_t) const { return false; }

}  // namespace kobj
