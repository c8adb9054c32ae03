#include "package/SharedCodeManagerPackage.hpp"

#include <memory>

#include "package/ClassInfos.hpp"

namespace SCM {

namespace {

template <class ClassInfo>
void addClass(kobj::PackageRegistrar& registrar, const char* shortName, const char* description) {
    registrar.addClass(std::make_unique<ClassInfo>(shortName, description));
}

}  // namespace

SharedCodeManagerPackage::SharedCodeManagerPackage() = default;

SharedCodeManagerPackage::~SharedCodeManagerPackage() = default;

const char* SharedCodeManagerPackage::name() const { return kName; }

void SharedCodeManagerPackage::loadClassList(kobj::PackageRegistrar& registrar) {
    const char* identity = "string identity object";
    const char* facade = "Shared Code Manager object";
    addClass<mi::SCMIdentity>(registrar, "Identity", "identity object");
    addClass<mi::SCMGenericIdentity>(registrar, "GenericIdentity", identity);
    addClass<mi::SCMBasicUtilityIdentity>(registrar, "BasicUtilityIdentity", identity);
    addClass<mi::SCMSharedFunctionIdentity>(registrar, "SharedFunctionIdentity", identity);
    addClass<mi::SCMSharedTypesDataConstantsIdentity>(registrar, "SharedTypesDataConstantsIdentity",
                                                      identity);
    addClass<mi::SCMSharedConstantsIdentity>(registrar, "SharedConstantsIdentity", identity);
    addClass<mi::SCMSharedTypesIdentity>(registrar, "SharedTypesIdentity", identity);
    addClass<mi::SCMSharedDataIdentity>(registrar, "SharedDataIdentity", identity);
    addClass<mi::SharedCodeManagerInterface>(registrar, "SharedCodeManagerInterface", facade);
    addClass<mi::SharedUtilityInterface>(registrar, "SharedUtilityInterface", facade);
    addClass<mi::SharedFunctionInterface>(registrar, "SharedFunctionInterface", facade);
    addClass<mi::SharedTypesInterface>(registrar, "SharedTypesInterface", facade);
    addClass<mi::SharedConstantsInterface>(registrar, "SharedConstantsInterface", facade);
    addClass<mi::SharedDataInterface>(registrar, "SharedDataInterface", facade);
    addClass<mi::SCMData>(registrar, "Data", "Data");
    addClass<mi::SCMGenericData>(registrar, "GenericData", "Data");
    addClass<mi::SCMBasicUtilityData>(registrar, "BasicUtilityData", "Data");
    addClass<mi::SCMSharedTypesDataConstantsData>(registrar, "SharedTypesDataConstantsData",
                                                  "Data");
    addClass<mi::SCMSharedFunctionData>(registrar, "SharedFunctionData", "Data");
    addClass<mi::SCMMultiWordFcnData>(registrar, "MultiWordFcnData", "Data");
    addClass<mi::SCMSharedTypesData>(registrar, "SharedTypesData", "Data");
    addClass<mi::SCMSharedData>(registrar, "SharedData", "Data");
    addClass<mi::SCMSharedConstantsData>(registrar, "SharedConstantsData", "Data");
}

}  // namespace SCM
