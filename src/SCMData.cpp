#include "SCMData.hpp"

#include <utility>

#include "package/PublishingRoutines.hpp"

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

void SCMData::setName(std::string name) { name_ = std::move(name); }

// Publishes "SharedCodeManager.Data".
void publishSCMData(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMData> data(builder);
    data.addSuperclass(kobj::kHeterogeneousRootName);
    data.addConstructor<>({});
    data.addConstructor<std::string>({kobj::types::kChar});
    data.addProperty("Name", kobj::types::kCharVector, kobj::attributes::kNone, &SCMData::getName,
                     &SCMData::setName);
}

}  // namespace SCM
