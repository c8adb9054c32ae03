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

// `text` with the package prefix "SharedCodeManager." taken out, to keep the table short.
std::string withoutPackage(std::string text) {
    const std::string prefix = "SharedCodeManager.";
    for (auto at = text.find(prefix); at != std::string::npos; at = text.find(prefix, at)) {
        text.erase(at, prefix.size());
    }
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
    return withoutPackage(text);
}

// The published catalogue, in registration order, without the prefix "SharedCodeManager.".
// clang-format off
const std::vector<std::string> kCatalogue = {
    "Identity < velmor.mixin.Heterogeneous\n"
    "  method char = getType(Identity)\n"
    "  property Checksum: char vector 0x800000\n"
    "  property Type: char vector 0x800800\n",

    "GenericIdentity < Identity\n"
    "  constructor GenericIdentity = GenericIdentity(char vector, char)\n"
    "  constructor GenericIdentity = GenericIdentity(char vector)\n"
    "  property DesiredIdentifier: char vector 0x0\n",

    "BasicUtilityIdentity < Identity\n"
    "  constructor BasicUtilityIdentity = BasicUtilityIdentity(char)\n"
    "  constructor BasicUtilityIdentity = BasicUtilityIdentity()\n"
    "  property UtilityIdentifier: char vector 0x0\n"
    "  property SymbolString: char vector 0x0\n"
    "  property MaximumIdentifierLength: int32 scalar 0x0\n"
    "  property IncludeMaxIdLength: logical scalar 0x800\n",

    "SharedFunctionIdentity < Identity\n"
    "  constructor SharedFunctionIdentity = SharedFunctionIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedFunctionIdentity = SharedFunctionIdentity()\n"
    "  property ChecksumElement1: uint32 scalar 0x0\n"
    "  property ChecksumElement2: uint32 scalar 0x0\n"
    "  property ChecksumElement3: uint32 scalar 0x0\n"
    "  property ChecksumElement4: uint32 scalar 0x0\n",

    "SharedTypesDataConstantsIdentity < Identity\n"
    "  property ChecksumElement1: uint32 scalar 0x0\n"
    "  property ChecksumElement2: uint32 scalar 0x0\n"
    "  property ChecksumElement3: uint32 scalar 0x0\n"
    "  property ChecksumElement4: uint32 scalar 0x0\n",

    "SharedConstantsIdentity < SharedTypesDataConstantsIdentity\n"
    "  constructor SharedConstantsIdentity = SharedConstantsIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedConstantsIdentity = SharedConstantsIdentity()\n",

    "SharedTypesIdentity < SharedTypesDataConstantsIdentity\n"
    "  constructor SharedTypesIdentity = SharedTypesIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedTypesIdentity = SharedTypesIdentity()\n",

    "SharedDataIdentity < SharedTypesDataConstantsIdentity\n"
    "  constructor SharedDataIdentity = SharedDataIdentity(uint32 scalar, uint32 scalar, uint32 scalar, uint32 scalar)\n"
    "  constructor SharedDataIdentity = SharedDataIdentity()\n",

    "SharedCodeManagerInterface < velmor.mixin.Heterogeneous\n"
    "  constructor SharedCodeManagerInterface = SharedCodeManagerInterface(char)\n"
    "  method Data = retrieveData(SharedCodeManagerInterface, Identity)\n"
    "  method Identity vector = retrieveAllIdentities(SharedCodeManagerInterface, char vector)\n"
    "  method Data vector = retrieveAllData(SharedCodeManagerInterface, char vector)\n"
    "  method char vector = registerData(SharedCodeManagerInterface, Identity, Data)\n"
    "  method char vector = registerDataUsingCaching(SharedCodeManagerInterface, Identity, Data)\n"
    "  method char vector = registerDataArray(SharedCodeManagerInterface, Identity vector, Data vector)\n"
    "  method char vector = finalize(SharedCodeManagerInterface)\n"
    "  method Identity = retrieveIdentityForName(SharedCodeManagerInterface, char vector, char)\n"
    "  method Data = retrieveDataForName(SharedCodeManagerInterface, char vector, char)\n",

    "SharedUtilityInterface < SharedCodeManagerInterface\n"
    "  constructor SharedUtilityInterface = SharedUtilityInterface(char)\n",

    "SharedFunctionInterface < SharedCodeManagerInterface\n"
    "  constructor SharedFunctionInterface = SharedFunctionInterface(char)\n",

    "SharedTypesInterface < SharedCodeManagerInterface\n"
    "  constructor SharedTypesInterface = SharedTypesInterface(char)\n",

    "SharedConstantsInterface < SharedCodeManagerInterface\n"
    "  constructor SharedConstantsInterface = SharedConstantsInterface(char)\n"
    "  property getAllConstantsNames: cell 0x0 read-only\n",

    "SharedDataInterface < SharedCodeManagerInterface\n"
    "  constructor SharedDataInterface = SharedDataInterface(char)\n",

    "Data < velmor.mixin.Heterogeneous\n"
    "  constructor Data = Data()\n"
    "  constructor Data = Data(char)\n"
    "  property Name: char vector 0x0\n",

    "GenericData < Data\n"
    "  constructor GenericData = GenericData(char)\n"
    "  constructor GenericData = GenericData()\n"
    "  property Identifier: char vector 0x0\n",

    "BasicUtilityData < Data\n"
    "  constructor BasicUtilityData = BasicUtilityData()\n"
    "  constructor BasicUtilityData = BasicUtilityData(char)\n"
    "  constructor BasicUtilityData = BasicUtilityData(char, char)\n"
    "  method cell = getTraceabilityForModel(BasicUtilityData, char)\n"
    "  property Identifier: char vector 0x0\n"
    "  property NameWithEncodings: char vector 0x0\n"
    "  property ModelNames: cell 0x0\n"
    "  property Multiword: logical scalar 0x0\n"
    "  property Complex: logical scalar 0x0\n"
    "  property Children: cell 0x0\n"
    "  property Traceability: cell 0x0\n",

    "SharedTypesDataConstantsData < Data\n"
    "  property Kind: char vector 0x0\n"
    "  property MangleName: char vector 0x0\n"
    "  property FileName: char vector 0x0\n"
    "  property Definition: char vector 0x0\n"
    "  property Dependencies: char vector 0x0\n"
    "  property DependentBuiltIn: logical scalar 0x0\n",

    "SharedFunctionData < Data\n"
    "  constructor SharedFunctionData = SharedFunctionData(char, char)\n"
    "  constructor SharedFunctionData = SharedFunctionData()\n"
    "  property FunctionName: char vector 0x0\n"
    "  property FileName: char vector 0x0\n",

    "MultiWordFcnData < Data\n"
    "  constructor MultiWordFcnData = MultiWordFcnData(char)\n"
    "  constructor MultiWordFcnData = MultiWordFcnData()\n"
    "  property MultiWordFunctions: cell 0x0\n",

    "SharedTypesData < SharedTypesDataConstantsData\n"
    "  constructor SharedTypesData = SharedTypesData(char)\n"
    "  constructor SharedTypesData = SharedTypesData()\n",

    "SharedData < SharedTypesDataConstantsData\n"
    "  constructor SharedData = SharedData(char)\n"
    "  constructor SharedData = SharedData()\n"
    "  property AliasedType: char vector 0x0\n"
    "  property CSCComment: char vector 0x0\n"
    "  property CSCName: char vector 0x0\n"
    "  property MemSecComment: char vector 0x0\n"
    "  property MemSecName: char vector 0x0\n"
    "  property PackageName: char vector 0x0\n"
    "  property MemSecAddPragma: int32 scalar 0x0\n"
    "  property MemSecPostPragma: int32 scalar 0x0\n"
    "  property MemSecPrePragma: int32 scalar 0x0\n",

    "SharedConstantsData < SharedTypesDataConstantsData\n"
    "  constructor SharedConstantsData = SharedConstantsData(char)\n"
    "  constructor SharedConstantsData = SharedConstantsData()\n"
    "  property InitialString: char vector 0x0\n"
    "  property ParameterPrefix: char vector 0x0\n"
    "  property Width: char vector 0x0\n"
    "  property DataType: char vector 0x0\n"
    "  property IsComplex: logical scalar 0x0\n"
    "  property IsMultiword: logical scalar 0x0\n"
    "  property GenerateConstant: logical scalar 0x0\n",
};
// clang-format on

TEST(PublishingCatalogueTest, EveryClassIsPublishedWithItsExactMembers) {
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
