#include "SCMBasicUtilityIdentity.hpp"

#include <utility>

#include "package/PublishingRoutines.hpp"

#include "digest/SCMChecksumDigest.hpp"

namespace SCM {

SCMBasicUtilityIdentity::SCMBasicUtilityIdentity() : SCMIdentity(SCM_UTILITIES) {}

SCMBasicUtilityIdentity::SCMBasicUtilityIdentity(const std::string& utilityIdentifier)
    : SCMIdentity(SCM_UTILITIES), utilityIdentifier_(utilityIdentifier) {}

SCMBasicUtilityIdentity::SCMBasicUtilityIdentity(const SCMBasicUtilityIdentity& other)
    : SCMIdentity(other) {
    setUtilityIdentifier(other.getUtilityIdentifier());
    setSymbolString(other.getSymbolString());
    setMaxIdLength(other.getMaxIdLength());
    setIncludeMaxIdLength(other.includeMaxIdLength());
}

SCMBasicUtilityIdentity::~SCMBasicUtilityIdentity() = default;

const char* SCMBasicUtilityIdentity::getFullyQualifiedKobjTypeName() const {
    return "SharedCodeManager.BasicUtilityIdentity";
}

// Feeds the identifier; the symbol string and the (optional) maximum length count only when the
// symbol string is not empty. The category is not fed.
void SCMBasicUtilityIdentity::computeChecksum() {
    if (isComputedChecksum()) return;
    SCMChecksumDigest digest;
    digest.init();
    digest.update(utilityIdentifier_.c_str());
    if (!symbolString_.empty()) {
        digest.update(symbolString_.c_str());
        if (includeMaxIdLength()) digest.update(maxIdLength_);
    }
    std::string text;
    digest.appendText(text);
    setChecksum(std::move(text));
}

SCMIdentity* SCMBasicUtilityIdentity::clone() const { return new SCMBasicUtilityIdentity(*this); }

// Every setter makes the next getChecksum() recompute.
const std::string& SCMBasicUtilityIdentity::getUtilityIdentifier() const {
    return utilityIdentifier_;
}

void SCMBasicUtilityIdentity::setUtilityIdentifier(std::string utilityIdentifier) {
    utilityIdentifier_ = std::move(utilityIdentifier);
    invalidateChecksum();
}

const std::string& SCMBasicUtilityIdentity::getSymbolString() const { return symbolString_; }

void SCMBasicUtilityIdentity::setSymbolString(std::string symbolString) {
    symbolString_ = std::move(symbolString);
    invalidateChecksum();
}

int SCMBasicUtilityIdentity::getMaxIdLength() const { return maxIdLength_; }

void SCMBasicUtilityIdentity::setMaxIdLength(int maxIdLength) {
    maxIdLength_ = maxIdLength;
    invalidateChecksum();
}

bool SCMBasicUtilityIdentity::includeMaxIdLength() const { return includeMaxIdLength_; }

void SCMBasicUtilityIdentity::setIncludeMaxIdLength(bool include) {
    includeMaxIdLength_ = include;
    invalidateChecksum();
}

// Publishes "SharedCodeManager.BasicUtilityIdentity".
void publishSCMBasicUtilityIdentity(kobj::factory::ClassBuilder& builder) {
    using Self = SCMBasicUtilityIdentity;
    kobj::factory::TypedClassBuilder<Self> identity(builder);
    identity.addSuperclass("SharedCodeManager.Identity");
    identity.addConstructor<std::string>({kobj::types::kChar});
    identity.addConstructor<>({});
    identity.addProperty("UtilityIdentifier", kobj::types::kCharVector, kobj::attributes::kNone,
                         &Self::getUtilityIdentifier, &Self::setUtilityIdentifier);
    identity.addProperty("SymbolString", kobj::types::kCharVector, kobj::attributes::kNone,
                         &Self::getSymbolString, &Self::setSymbolString);
    identity.addProperty("MaximumIdentifierLength", kobj::types::kInt32Scalar,
                         kobj::attributes::kNone, &Self::getMaxIdLength, &Self::setMaxIdLength);
    identity.addProperty("IncludeMaxIdLength", kobj::types::kLogicalScalar,
                         kobj::attributes::kHidden, &Self::includeMaxIdLength,
                         &Self::setIncludeMaxIdLength);
}

}  // namespace SCM
