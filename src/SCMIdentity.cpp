#include "SCMIdentity.hpp"

#include "package/PublishingRoutines.hpp"

namespace SCM {

SCMIdentity::SCMIdentity() : SCMIdentity(SCM_UTILITIES) {}

SCMIdentity::SCMIdentity(SCMTypes type) : type_(type), checksumComputed_(false) {}

SCMIdentity::SCMIdentity(const SCMIdentity& other)
    : tv::mi::Handle(other), type_(other.getType()), checksumComputed_(false) {}

SCMIdentity::~SCMIdentity() = default;

const char* SCMIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.Identity";
}

bool SCMIdentity::isComputedChecksum() const { return checksumComputed_; }

SCMTypes SCMIdentity::getType() const { return type_; }

void SCMIdentity::setType(SCMTypes type) { type_ = type; }

const std::string& SCMIdentity::getChecksum() {
    if (!isComputedChecksum()) computeChecksum();
    return checksum_;
}

void SCMIdentity::setChecksum(std::string text) {
    checksum_ = std::move(text);
    checksumComputed_ = true;
}

std::string SCMIdentity::getTypeString() const { return scmTypeToString(getType()); }

bool SCMIdentity::isAbstract() const { return true; }

void SCMIdentity::invalidateChecksum() { checksumComputed_ = false; }

// Publishes "SharedCodeManager.Identity": the checksum (reading it computes it) and the category
// as text; no constructor, the class is abstract.
void publishSCMIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMIdentity> identity(builder);
    identity.addSuperclass(kobj::kHeterogeneousRootName);
    identity.addMethod("getType", {kobj::types::kChar}, {}, &SCMIdentity::getTypeString);
    identity.addProperty("Checksum", kobj::types::kCharVector, kobj::attributes::kDependent,
                         &SCMIdentity::getChecksum, &SCMIdentity::setChecksum);
    identity.addProperty("Type", kobj::types::kCharVector,
                         kobj::attributes::kHidden | kobj::attributes::kDependent,
                         &SCMIdentity::getType, &SCMIdentity::setType);
}

}  // namespace SCM
