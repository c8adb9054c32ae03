#include <gtest/gtest.h>

#include <cstdio>
#include <string>
#include <vector>

#include "SCMModuleEntry.hpp"
#include "kobj/ClassRegistry.hpp"

namespace {

std::string hex(std::uint32_t word) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", word);
    return text;
}

// One class of the catalogue as text: the class and its superclass, then its own constructors,
// methods and properties in publication order.
std::string describe(const kobj::ClassRecord& record) {
    std::string text = record.name() + " < " + record.superclassName() + "\n";
    for (const auto& constructor : record.constructors()) {
        text += "  constructor " + constructor->signature().toString(record.name()) + "\n";
    }
    for (const auto& method : record.methods()) {
        text += "  method " + method->signature().toString(method->name()) + "\n";
    }
    for (const auto& property : record.properties()) {
        text += "  property " + property->name() + ": " + property->typeText() + " " +
                hex(property->attributes()) + (property->isReadOnly() ? " read-only" : "") + "\n";
    }
    return text;
}

// The published catalogue, in registration order.
const std::vector<std::string> kCatalogue = {
    "SharedCodeManager.Identity < velmor.mixin.Heterogeneous\n"
    "  method char = getType(SharedCodeManager.Identity)\n"
    "  property Checksum: char vector 0x800000\n"
    "  property Type: char vector 0x800800\n",

    "SharedCodeManager.GenericIdentity < SharedCodeManager.Identity\n"
    "  constructor SharedCodeManager.GenericIdentity = SharedCodeManager.GenericIdentity(char vector, char)\n"
    "  constructor SharedCodeManager.GenericIdentity = SharedCodeManager.GenericIdentity(char vector)\n"
    "  property DesiredIdentifier: char vector 0x0\n",

    "SharedCodeManager.BasicUtilityIdentity < SharedCodeManager.Identity\n"
    "  constructor SharedCodeManager.BasicUtilityIdentity = SharedCodeManager.BasicUtilityIdentity(char)\n"
    "  constructor SharedCodeManager.BasicUtilityIdentity = SharedCodeManager.BasicUtilityIdentity()\n"
    "  property UtilityIdentifier: char vector 0x0\n"
    "  property SymbolString: char vector 0x0\n"
    "  property MaximumIdentifierLength: int32 scalar 0x0\n"
    "  property IncludeMaxIdLength: logical scalar 0x800\n",

    "SharedCodeManager.SharedFunctionIdentity < SharedCodeManager.Identity\n"
    "  constructor SharedCodeManager.SharedFunctionIdentity = SharedCodeManager.SharedFunctionIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedCodeManager.SharedFunctionIdentity = SharedCodeManager.SharedFunctionIdentity()\n"
    "  property ChecksumElement1: uint32 scalar 0x0\n"
    "  property ChecksumElement2: uint32 scalar 0x0\n"
    "  property ChecksumElement3: uint32 scalar 0x0\n"
    "  property ChecksumElement4: uint32 scalar 0x0\n",

    "SharedCodeManager.SharedTypesDataConstantsIdentity < SharedCodeManager.Identity\n"
    "  property ChecksumElement1: uint32 scalar 0x0\n"
    "  property ChecksumElement2: uint32 scalar 0x0\n"
    "  property ChecksumElement3: uint32 scalar 0x0\n"
    "  property ChecksumElement4: uint32 scalar 0x0\n",

    "SharedCodeManager.SharedConstantsIdentity < SharedCodeManager.SharedTypesDataConstantsIdentity\n"
    "  constructor SharedCodeManager.SharedConstantsIdentity = SharedCodeManager.SharedConstantsIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedCodeManager.SharedConstantsIdentity = SharedCodeManager.SharedConstantsIdentity()\n",

    "SharedCodeManager.SharedTypesIdentity < SharedCodeManager.SharedTypesDataConstantsIdentity\n"
    "  constructor SharedCodeManager.SharedTypesIdentity = SharedCodeManager.SharedTypesIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedCodeManager.SharedTypesIdentity = SharedCodeManager.SharedTypesIdentity()\n",

    "SharedCodeManager.SharedDataIdentity < SharedCodeManager.SharedTypesDataConstantsIdentity\n"
    "  constructor SharedCodeManager.SharedDataIdentity = SharedCodeManager.SharedDataIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedCodeManager.SharedDataIdentity = SharedCodeManager.SharedDataIdentity()\n",

    "SharedCodeManager.SharedCodeManagerInterface < velmor.mixin.Heterogeneous\n"
    "  constructor SharedCodeManager.SharedCodeManagerInterface = SharedCodeManager.SharedCodeManagerInterface(char)\n"
    "  method SharedCodeManager.Data = retrieveData(SharedCodeManager.SharedCodeManagerInterface, SharedCodeManager.Identity)\n"
    "  method SharedCodeManager.Identity vector = retrieveAllIdentities(SharedCodeManager.SharedCodeManagerInterface, char vector)\n"
    "  method SharedCodeManager.Data vector = retrieveAllData(SharedCodeManager.SharedCodeManagerInterface, char vector)\n"
    "  method char vector = registerData(SharedCodeManager.SharedCodeManagerInterface, SharedCodeManager.Identity, SharedCodeManager.Data)\n"
    "  method char vector = registerDataUsingCaching(SharedCodeManager.SharedCodeManagerInterface, SharedCodeManager.Identity, SharedCodeManager.Data)\n"
    "  method char vector = registerDataArray(SharedCodeManager.SharedCodeManagerInterface, SharedCodeManager.Identity vector, SharedCodeManager.Data vector)\n"
    "  method char vector = finalize(SharedCodeManager.SharedCodeManagerInterface)\n"
    "  method SharedCodeManager.Identity = retrieveIdentityForName(SharedCodeManager.SharedCodeManagerInterface, char vector, char)\n"
    "  method SharedCodeManager.Data = retrieveDataForName(SharedCodeManager.SharedCodeManagerInterface, char vector, char)\n",

    "SharedCodeManager.SharedUtilityInterface < SharedCodeManager.SharedCodeManagerInterface\n"
    "  constructor SharedCodeManager.SharedUtilityInterface = SharedCodeManager.SharedUtilityInterface(char)\n",

    "SharedCodeManager.SharedFunctionInterface < SharedCodeManager.SharedCodeManagerInterface\n"
    "  constructor SharedCodeManager.SharedFunctionInterface = SharedCodeManager.SharedFunctionInterface(char)\n",

    "SharedCodeManager.SharedTypesInterface < SharedCodeManager.SharedCodeManagerInterface\n"
    "  constructor SharedCodeManager.SharedTypesInterface = SharedCodeManager.SharedTypesInterface(char)\n",

    "SharedCodeManager.SharedConstantsInterface < SharedCodeManager.SharedCodeManagerInterface\n"
    "  constructor SharedCodeManager.SharedConstantsInterface = SharedCodeManager.SharedConstantsInterface(char)\n"
    "  property getAllConstantsNames: cell 0x0 read-only\n",

    "SharedCodeManager.SharedDataInterface < SharedCodeManager.SharedCodeManagerInterface\n"
    "  constructor SharedCodeManager.SharedDataInterface = SharedCodeManager.SharedDataInterface(char)\n",

    "SharedCodeManager.Data < velmor.mixin.Heterogeneous\n"
    "  constructor SharedCodeManager.Data = SharedCodeManager.Data()\n"
    "  constructor SharedCodeManager.Data = SharedCodeManager.Data(char)\n"
    "  property Name: char vector 0x0\n",

    "SharedCodeManager.GenericData < SharedCodeManager.Data\n"
    "  constructor SharedCodeManager.GenericData = SharedCodeManager.GenericData(char)\n"
    "  constructor SharedCodeManager.GenericData = SharedCodeManager.GenericData()\n"
    "  property Identifier: char vector 0x0\n",

    "SharedCodeManager.BasicUtilityData < SharedCodeManager.Data\n"
    "  constructor SharedCodeManager.BasicUtilityData = SharedCodeManager.BasicUtilityData()\n"
    "  constructor SharedCodeManager.BasicUtilityData = SharedCodeManager.BasicUtilityData(char)\n"
    "  constructor SharedCodeManager.BasicUtilityData = SharedCodeManager.BasicUtilityData(char, char)\n"
    "  method cell = getTraceabilityForModel(SharedCodeManager.BasicUtilityData, char)\n"
    "  property Identifier: char vector 0x0\n"
    "  property NameWithEncodings: char vector 0x0\n"
    "  property ModelNames: cell 0x0\n"
    "  property Multiword: logical scalar 0x0\n"
    "  property Complex: logical scalar 0x0\n"
    "  property Children: cell 0x0\n"
    "  property Traceability: cell 0x0\n",

    "SharedCodeManager.SharedTypesDataConstantsData < SharedCodeManager.Data\n"
    "  property Kind: char vector 0x0\n"
    "  property MangleName: char vector 0x0\n"
    "  property FileName: char vector 0x0\n"
    "  property Definition: char vector 0x0\n"
    "  property Dependencies: char vector 0x0\n"
    "  property DependentBuiltIn: logical scalar 0x0\n",

    "SharedCodeManager.SharedFunctionData < SharedCodeManager.Data\n"
    "  constructor SharedCodeManager.SharedFunctionData = SharedCodeManager.SharedFunctionData(char, char)\n"
    "  constructor SharedCodeManager.SharedFunctionData = SharedCodeManager.SharedFunctionData()\n"
    "  property FunctionName: char vector 0x0\n"
    "  property FileName: char vector 0x0\n",

    "SharedCodeManager.MultiWordFcnData < SharedCodeManager.Data\n"
    "  constructor SharedCodeManager.MultiWordFcnData = SharedCodeManager.MultiWordFcnData(char)\n"
    "  constructor SharedCodeManager.MultiWordFcnData = SharedCodeManager.MultiWordFcnData()\n"
    "  property MultiWordFunctions: cell 0x0\n",

    "SharedCodeManager.SharedTypesData < SharedCodeManager.SharedTypesDataConstantsData\n"
    "  constructor SharedCodeManager.SharedTypesData = SharedCodeManager.SharedTypesData(char)\n"
    "  constructor SharedCodeManager.SharedTypesData = SharedCodeManager.SharedTypesData()\n",

    "SharedCodeManager.SharedData < SharedCodeManager.SharedTypesDataConstantsData\n"
    "  constructor SharedCodeManager.SharedData = SharedCodeManager.SharedData(char)\n"
    "  constructor SharedCodeManager.SharedData = SharedCodeManager.SharedData()\n"
    "  property AliasedType: char vector 0x0\n"
    "  property CSCComment: char vector 0x0\n"
    "  property CSCName: char vector 0x0\n"
    "  property MemSecComment: char vector 0x0\n"
    "  property MemSecName: char vector 0x0\n"
    "  property PackageName: char vector 0x0\n"
    "  property MemSecAddPragma: int32 scalar 0x0\n"
    "  property MemSecPostPragma: int32 scalar 0x0\n"
    "  property MemSecPrePragma: int32 scalar 0x0\n",

    "SharedCodeManager.SharedConstantsData < SharedCodeManager.SharedTypesDataConstantsData\n"
    "  constructor SharedCodeManager.SharedConstantsData = SharedCodeManager.SharedConstantsData(char)\n"
    "  constructor SharedCodeManager.SharedConstantsData = SharedCodeManager.SharedConstantsData()\n"
    "  property InitialString: char vector 0x0\n"
    "  property ParameterPrefix: char vector 0x0\n"
    "  property Width: char vector 0x0\n"
    "  property DataType: char vector 0x0\n"
    "  property IsComplex: logical scalar 0x0\n"
    "  property IsMultiword: logical scalar 0x0\n"
    "  property GenerateConstant: logical scalar 0x0\n",
};

TEST(PublishingCatalogueTest, EveryClassIsPublishedExactlyAsSpecified) {
    HxInitialize_shared_code_manager();
    std::vector<std::string> catalogue;
    for (const kobj::ClassRecord* record :
         kobj::ClassRegistry::instance().packageClasses("SharedCodeManager")) {
        catalogue.push_back(describe(*record));
    }
    ASSERT_EQ(catalogue.size(), 23u);
    for (std::size_t i = 0; i < catalogue.size(); ++i) {
        EXPECT_EQ(catalogue[i], kCatalogue[i]) << "class #" << i + 1;
    }
}

}  // namespace
