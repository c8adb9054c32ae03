#include "SCMData.hpp"

namespace SCM {

SCMData::SCMData() = default;

SCMData::SCMData(const std::string& name) : name_(name) {}

SCMData::SCMData(const SCMData& other) : tv::mi::Handle(other) { setName(other.getName()); }

SCMData::~SCMData() = default;

const char* SCMData::getFullyQualifiedKobjTypeName() const { return "SharedCodeManager.Data"; }

SCMRegistry SCMData::update(SCMData*) { return IS_PRESENT_UPDATE; }

SCMData* SCMData::clone() const { return new SCMData(*this); }

bool SCMData::isAbstract() const { return true; }

const std::string& SCMData::getName() const { return name_; }

void SCMData::setName(const std::string& name) { name_ = name; }

}  // namespace SCM
