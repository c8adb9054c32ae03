#pragma once

#include "package/PublishingRoutines.hpp"

// Members shared by the published four-element identities, which repeat the same four checksum
// elements (SCMSharedFunctionIdentity, SCMSharedTypesDataConstantsIdentity and its subclasses).
namespace SCM {

// The constructors (four "uint32 scalar" elements) and ().
template <class Identity>
void addChecksumElementConstructors(kobj::factory::TypedClassBuilder<Identity>& identity) {
    identity.template addConstructor<unsigned int, unsigned int, unsigned int, unsigned int>(
        {kobj::types::kUInt32Scalar, kobj::types::kUInt32Scalar, kobj::types::kUInt32Scalar,
         kobj::types::kUInt32Scalar});
    identity.template addConstructor<>({});
}

// The properties "ChecksumElement1" to "ChecksumElement4".
template <class Identity>
void addChecksumElementProperties(kobj::factory::TypedClassBuilder<Identity>& identity) {
    const char* type = kobj::types::kUInt32Scalar;
    const auto none = kobj::attributes::kNone;
    identity.addProperty("ChecksumElement1", type, none, &Identity::getChecksumElement1,
                         &Identity::setChecksumElement1);
    identity.addProperty("ChecksumElement2", type, none, &Identity::getChecksumElement2,
                         &Identity::setChecksumElement2);
    identity.addProperty("ChecksumElement3", type, none, &Identity::getChecksumElement3,
                         &Identity::setChecksumElement3);
    identity.addProperty("ChecksumElement4", type, none, &Identity::getChecksumElement4,
                         &Identity::setChecksumElement4);
}

}  // namespace SCM
