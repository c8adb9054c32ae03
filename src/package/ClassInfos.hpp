#pragma once

#include "package/PublishingRoutines.hpp"
#include "kobj/HandleClass.hpp"

// The class-info objects of the published library classes: one class per library class, named
// after it, each running that class's publishing routine when the class system first needs it.
namespace SCM::mi {

template <void (*Publish)(kobj::factory::ClassBuilder&)>
class PublishedClass : public tv::mi::HandleClass {
public:
    // `shortName` is the class name after "SharedCodeManager."; `description` one line about it.
    using tv::mi::HandleClass::HandleClass;

protected:
    void publish(kobj::factory::ClassBuilder& builder) override { Publish(builder); }
};

using SCMIdentity = PublishedClass<&SCM::publishSCMIdentity>;
using SCMGenericIdentity = PublishedClass<&SCM::publishSCMGenericIdentity>;
using SCMBasicUtilityIdentity = PublishedClass<&SCM::publishSCMBasicUtilityIdentity>;
using SCMSharedFunctionIdentity = PublishedClass<&SCM::publishSCMSharedFunctionIdentity>;
using SCMSharedTypesDataConstantsIdentity =
    PublishedClass<&SCM::publishSCMSharedTypesDataConstantsIdentity>;
using SCMSharedConstantsIdentity = PublishedClass<&SCM::publishSCMSharedConstantsIdentity>;
using SCMSharedTypesIdentity = PublishedClass<&SCM::publishSCMSharedTypesIdentity>;
using SCMSharedDataIdentity = PublishedClass<&SCM::publishSCMSharedDataIdentity>;
using SharedCodeManagerInterface = PublishedClass<&SCM::publishSharedCodeManagerInterface>;
using SharedUtilityInterface = PublishedClass<&SCM::publishSharedUtilityInterface>;
using SharedFunctionInterface = PublishedClass<&SCM::publishSharedFunctionInterface>;
using SharedTypesInterface = PublishedClass<&SCM::publishSharedTypesInterface>;
using SharedConstantsInterface = PublishedClass<&SCM::publishSharedConstantsInterface>;
using SharedDataInterface = PublishedClass<&SCM::publishSharedDataInterface>;
using SCMData = PublishedClass<&SCM::publishSCMData>;
using SCMGenericData = PublishedClass<&SCM::publishSCMGenericData>;
using SCMBasicUtilityData = PublishedClass<&SCM::publishSCMBasicUtilityData>;
using SCMSharedTypesDataConstantsData =
    PublishedClass<&SCM::publishSCMSharedTypesDataConstantsData>;
using SCMSharedFunctionData = PublishedClass<&SCM::publishSCMSharedFunctionData>;
using SCMMultiWordFcnData = PublishedClass<&SCM::publishSCMMultiWordFcnData>;
using SCMSharedTypesData = PublishedClass<&SCM::publishSCMSharedTypesData>;
using SCMSharedData = PublishedClass<&SCM::publishSCMSharedData>;
using SCMSharedConstantsData = PublishedClass<&SCM::publishSCMSharedConstantsData>;

}  // namespace SCM::mi
