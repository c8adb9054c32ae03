#include "kobj/HandleClass.hpp"

namespace tv::mi {

HandleClass::HandleClass(std::string shortName, std::string description)
    : kobj::COSClassInfo(std::move(shortName), std::move(description)) {}

HandleClass::~HandleClass() = default;

}  // namespace tv::mi
