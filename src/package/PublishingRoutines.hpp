#pragma once

#include <string>

#include "ScriptConversions.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/ObjectValues.hpp"
#include "kobj/PropertyAttributes.hpp"
#include "kobj/factory/TypedClassBuilder.hpp"

// The publishing routine of every library class. Each is defined in its class's own source file,
// after the class's methods, and run by the class system the first time the class is used (through
// the class-info objects of SharedCodeManagerPackage). Internal to the library.
namespace SCM {

void publishSCMIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMGenericIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMBasicUtilityIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMSharedFunctionIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMSharedTypesDataConstantsIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMSharedConstantsIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMSharedTypesIdentity(kobj::factory::ClassBuilder& builder);
void publishSCMSharedDataIdentity(kobj::factory::ClassBuilder& builder);
void publishSharedCodeManagerInterface(kobj::factory::ClassBuilder& builder);
void publishSharedUtilityInterface(kobj::factory::ClassBuilder& builder);
void publishSharedFunctionInterface(kobj::factory::ClassBuilder& builder);
void publishSharedTypesInterface(kobj::factory::ClassBuilder& builder);
void publishSharedConstantsInterface(kobj::factory::ClassBuilder& builder);
void publishSharedDataInterface(kobj::factory::ClassBuilder& builder);
void publishSCMData(kobj::factory::ClassBuilder& builder);
void publishSCMGenericData(kobj::factory::ClassBuilder& builder);
void publishSCMBasicUtilityData(kobj::factory::ClassBuilder& builder);
void publishSCMSharedTypesDataConstantsData(kobj::factory::ClassBuilder& builder);
void publishSCMSharedFunctionData(kobj::factory::ClassBuilder& builder);
void publishSCMMultiWordFcnData(kobj::factory::ClassBuilder& builder);
void publishSCMSharedTypesData(kobj::factory::ClassBuilder& builder);
void publishSCMSharedData(kobj::factory::ClassBuilder& builder);
void publishSCMSharedConstantsData(kobj::factory::ClassBuilder& builder);

// The published constructor of a registry facade: one "char" argument, the dictionary file, given
// to the facade's file constructor.
template <class Facade>
void addFacadeConstructor(kobj::factory::TypedClassBuilder<Facade>& facadeClass) {
    facadeClass.addConstructor({kobj::types::kChar}, [](const kobj::factory::Arguments& arguments) {
        return new Facade(arguments.get<std::string>(0));
    });
}

}  // namespace SCM
