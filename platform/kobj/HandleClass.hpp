#pragma once

#include <string>

#include "kobj/COSClassInfo.hpp"

namespace tv::mi {

// The class-info base of classes whose objects are scripting handles (tv::mi::Handle). A library
// derives one class-info class per published class from it and implements publish() by calling
// that class's publishing routine.
class HandleClass : public kobj::COSClassInfo {
public:
    HandleClass(std::string shortName, std::string description);
    ~HandleClass() override;
};

}  // namespace tv::mi
