#include "SCMGenericIdentity.hpp"

#include "package/PublishingRoutines.hpp"

#include "digest/SCMChecksumDigest.hpp"

namespace SCM {

SCMGenericIdentity::SCMGenericIdentity(SCMTypes type) : SCMIdentity(type) {}

SCMGenericIdentity::SCMGenericIdentity(SCMTypes type, const std::string& desiredIdentifier)
    : SCMIdentity(type), desiredIdentifier_(desiredIdentifier) {}

SCMGenericIdentity::SCMGenericIdentity(const SCMGenericIdentity& other) : SCMIdentity(other) {
    setDesiredIdentifier(other.getDesiredIdentifier());
}

SCMGenericIdentity::~SCMGenericIdentity() = default;

const char* SCMGenericIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.GenericIdentity";
}

void SCMGenericIdentity::computeChecksum() {
    if (isComputedChecksum()) return;
    SCMChecksumDigest digest;
    digest.init();
    digest.update(desiredIdentifier_.c_str());
    std::string text;
    digest.appendText(text);
    setChecksum(std::move(text));
}

SCMIdentity* SCMGenericIdentity::clone() const { return new SCMGenericIdentity(*this); }

const std::string& SCMGenericIdentity::getDesiredIdentifier() const { return desiredIdentifier_; }

void SCMGenericIdentity::setDesiredIdentifier(const std::string& desiredIdentifier) {
    desiredIdentifier_ = desiredIdentifier;
    invalidateChecksum();
}

// Publishes "SharedCodeManager.GenericIdentity"; its constructors take the category by name.
void publishSCMGenericIdentity(kobj::factory::ClassBuilder& builder) {
    kobj::factory::TypedClassBuilder<SCMGenericIdentity> identity(builder);
    identity.addSuperclass("SharedCodeManager.Identity");
    identity.addConstructor<SCMTypes, std::string>({kobj::types::kCharVector, kobj::types::kChar});
    identity.addConstructor<SCMTypes>({kobj::types::kCharVector});
    identity.addProperty("DesiredIdentifier", kobj::types::kCharVector, kobj::attributes::kNone,
                         &SCMGenericIdentity::getDesiredIdentifier,
                         &SCMGenericIdentity::setDesiredIdentifier);
}

}  // namespace SCM
