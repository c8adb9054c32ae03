// Data records: defaults, copies and clones, the traceability query and each class's merge rule.
#include <gtest/gtest.h>

#include <memory>
#include <stdexcept>

#include "SCMBasicUtilityData.hpp"
#include "SCMGenericData.hpp"
#include "SCMMultiWordFcnData.hpp"
#include "SCMSharedConstantsData.hpp"
#include "SCMSharedData.hpp"
#include "SCMSharedFunctionData.hpp"
#include "SCMSharedTypesData.hpp"

namespace {

using namespace SCM;
using Names = std::vector<std::string>;

TEST(BaseData, AcceptsEverythingAndChangesNothing) {
    SCMData stored("x");
    SCMData other("y");
    EXPECT_EQ(stored.update(&other), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.update(nullptr), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.getName(), "x");

    std::unique_ptr<SCMData> clone(stored.clone());
    EXPECT_NE(clone.get(), &stored);
    EXPECT_EQ(clone->getName(), "x");
    EXPECT_TRUE(clone->isAbstract());
    EXPECT_STREQ(clone->getFullyQualifiedKobjTypeName(), "SharedCodeManager.Data");
}

SCMBasicUtilityData utilityWithTraceability(const std::set<std::string>& entries) {
    SCMBasicUtilityData record("rt_foo", "id");
    record.setTraceabilitySet(entries);
    return record;
}

TEST(UtilityData, ConstructorsAndDefaults) {
    SCMBasicUtilityData empty;
    EXPECT_EQ(empty.getNameWithEncodings(), "");
    EXPECT_FALSE(empty.isMultiword());
    EXPECT_FALSE(empty.isComplex());
    EXPECT_TRUE(empty.getModelNames().empty());

    SCMBasicUtilityData flags("rt_foo", true, false);
    EXPECT_EQ(flags.getNameWithEncodings(), "rt_foo");
    EXPECT_EQ(flags.getIdentifier(), "");
    EXPECT_TRUE(flags.isMultiword());
    EXPECT_FALSE(flags.isComplex());

    SCMBasicUtilityData named("rt_foo", "rt_id");
    EXPECT_EQ(named.getIdentifier(), "rt_id");
    EXPECT_STREQ(named.getFullyQualifiedKobjTypeName(), "SharedCodeManager.BasicUtilityData");
}

TEST(UtilityData, TraceabilityForModelMatchesWholeModelNames) {
    const auto record = utilityWithTraceability({"m2:c", "m10:b", "m1:a"});
    EXPECT_EQ(record.getTraceabilityForModel("m1"), Names{"m1:a"});
    EXPECT_EQ(record.getTraceabilityForModel("m10"), Names{"m10:b"});
    EXPECT_EQ(record.getTraceabilityForModel("m3"), Names{});
    EXPECT_EQ(record.getTraceabilityForModel(""), (Names{"m10:b", "m1:a", "m2:c"}));
    EXPECT_EQ(record.getTraceability(), (Names{"m10:b", "m1:a", "m2:c"}));
}

TEST(UtilityData, BareModelNameEntryThrowsForThatModelOnly) {
    const auto record = utilityWithTraceability({"m1", "m1:a"});
    EXPECT_THROW(record.getTraceabilityForModel("m1"), std::out_of_range);
    EXPECT_EQ(record.getTraceabilityForModel("m"), Names{});
}

TEST(UtilityData, TraceabilitySettersUnionOrReplace) {
    auto record = utilityWithTraceability({"a"});
    record.setTraceability({"b"});
    EXPECT_EQ(record.getTraceability(), (Names{"a", "b"}));
    record.addTraceability("a");
    EXPECT_EQ(record.getTraceability().size(), 2u);
    record.setTraceabilitySet(record.getTraceabilitySet());
    EXPECT_EQ(record.getTraceability(), (Names{"a", "b"}));
    record.setTraceabilitySet({"b"});
    EXPECT_EQ(record.getTraceability(), Names{"b"});
}

TEST(UtilityData, ListsKeepGivenDuplicatesButAddSkipsThem) {
    SCMBasicUtilityData record;
    record.addModelName("x");
    record.addModelName("x");
    EXPECT_EQ(record.getModelNames(), Names{"x"});
    record.setModelNames({"x", "x"});
    EXPECT_EQ(record.getModelNames(), (Names{"x", "x"}));
    record.addChild("c");
    record.addChild("c");
    EXPECT_EQ(record.getChildren(), Names{"c"});
}

TEST(UtilityData, MergeTakesFlagsFirstModelChildrenAndTraceability) {
    SCMBasicUtilityData stored("rt_foo", "id");
    stored.setModelNames({"m1"});
    stored.setChildren({"old"});
    stored.addTraceability("m1:a");

    SCMBasicUtilityData newer("other_name", "id");
    newer.setMultiword(true);
    newer.setComplex(true);
    newer.setModelNames({"p", "q"});
    newer.addTraceability("p:b");

    EXPECT_EQ(stored.update(&newer), IS_PRESENT_UPDATE);
    EXPECT_TRUE(stored.isMultiword());
    EXPECT_TRUE(stored.isComplex());
    EXPECT_EQ(stored.getModelNames(), (Names{"m1", "p"}));
    EXPECT_EQ(stored.getChildren(), Names{"old"});  // the newer record has no children
    EXPECT_EQ(stored.getTraceability(), (Names{"m1:a", "p:b"}));
    EXPECT_EQ(stored.getNameWithEncodings(), "rt_foo");

    newer.setChildren({"c"});
    newer.setMultiword(false);
    EXPECT_EQ(stored.update(&newer), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.getChildren(), Names{"c"});
    EXPECT_FALSE(stored.isMultiword());
}

TEST(UtilityData, MergeRefusesAnotherIdentifierAndChangesNothing) {
    SCMBasicUtilityData stored("rt_foo", "id");
    stored.setChildren({"keep"});
    SCMBasicUtilityData newer("rt_foo", "different");
    newer.setMultiword(true);
    newer.setChildren({"lost"});
    newer.setModelNames({"p"});
    EXPECT_EQ(stored.update(&newer), IS_PRESENT_ERROR);
    EXPECT_FALSE(stored.isMultiword());
    EXPECT_EQ(stored.getChildren(), Names{"keep"});
    EXPECT_TRUE(stored.getModelNames().empty());

    SCMBasicUtilityData same("rt_foo", "id");
    EXPECT_EQ(stored.update(&same), IS_PRESENT_UPDATE);  // even when nothing changes

    SCMGenericData otherClass("id");
    EXPECT_EQ(stored.update(&otherClass), IS_PRESENT_ERROR);
}

TEST(UtilityData, CloneIsEqualAndIndependent) {
    SCMBasicUtilityData source("rt_foo", "id");
    source.setName("n");
    source.setMultiword(true);
    source.setModelNames({"b", "a", "b"});
    source.setChildren({"c1", "c2"});
    source.addTraceability("m:x");
    std::unique_ptr<SCMData> copy(source.clone());
    auto* clone = dynamic_cast<SCMBasicUtilityData*>(copy.get());
    ASSERT_NE(clone, nullptr);
    EXPECT_EQ(clone->getName(), "n");
    EXPECT_EQ(clone->getIdentifier(), "id");
    EXPECT_EQ(clone->getNameWithEncodings(), "rt_foo");
    EXPECT_TRUE(clone->isMultiword());
    EXPECT_EQ(clone->getModelNames(), (Names{"b", "a", "b"}));
    EXPECT_EQ(clone->getChildren(), (Names{"c1", "c2"}));
    EXPECT_EQ(clone->getTraceability(), Names{"m:x"});
    clone->addModelName("z");
    clone->addTraceability("m:y");
    EXPECT_EQ(source.getModelNames().size(), 3u);
    EXPECT_EQ(source.getTraceability().size(), 1u);
}

TEST(GenericData, MergeComparesIdentifiers) {
    SCMGenericData stored("id");
    SCMGenericData same("id");
    SCMGenericData other("other");
    EXPECT_EQ(stored.update(&same), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.update(&other), IS_PRESENT_ERROR);
    EXPECT_EQ(stored.getIdentifier(), "id");
    std::unique_ptr<SCMData> clone(stored.clone());
    EXPECT_EQ(static_cast<SCMGenericData&>(*clone).getIdentifier(), "id");
}

TEST(MultiWordData, ConstructorsKeepWhatTheyAreGiven) {
    EXPECT_EQ(SCMMultiWordFcnData("").getFcnNames(), Names{""});
    EXPECT_EQ(SCMMultiWordFcnData(Names{"a", "a"}).getFcnNames(), (Names{"a", "a"}));
    SCMMultiWordFcnData list(Names{"a", "a"});
    list.addFcnName("a");
    EXPECT_EQ(list.getFcnNames(), (Names{"a", "a"}));
    EXPECT_TRUE(SCMMultiWordFcnData().getFcnNames().empty());
}

TEST(MultiWordData, MergeIsAGrowingUnion) {
    SCMMultiWordFcnData stored(Names{"a", "b"});
    SCMMultiWordFcnData newer(Names{"c", "a"});
    EXPECT_EQ(stored.update(&newer), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.getFcnNames(), (Names{"a", "b", "c"}));
    std::unique_ptr<SCMData> clone(stored.clone());
    EXPECT_EQ(static_cast<SCMMultiWordFcnData&>(*clone).getFcnNames(), (Names{"a", "b", "c"}));
}

TEST(SharedFunctionData, MergeComparesFunctionNamesOnly) {
    SCMSharedFunctionData stored("f", "x.c");
    SCMSharedFunctionData otherFile("f", "y.c");
    SCMSharedFunctionData otherName("g", "x.c");
    EXPECT_EQ(stored.update(&otherFile), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.getFileName(), "x.c");
    EXPECT_EQ(stored.update(&otherName), IS_PRESENT_ERROR);
    EXPECT_EQ(stored.getFunctionName(), "f");
    std::unique_ptr<SCMData> clone(stored.clone());
    auto& copy = static_cast<SCMSharedFunctionData&>(*clone);
    EXPECT_EQ(copy.getFunctionName(), "f");
    EXPECT_EQ(copy.getFileName(), "x.c");
}

TEST(SharedTypesData, KindTextsReadBackExceptOthers) {
    SCMSharedTypesData record("T");
    EXPECT_EQ(record.getKind(), "");
    for (const char* kind : {"SCM_SHARED_TYPES", "SCM_SHARED_DATA_MACRO",
                             "SCM_SHARED_DATA_DECLARATION", "SCM_SHARED_DATA_DEFINITION"}) {
        record.setKind(kind);
        EXPECT_EQ(record.getKind(), kind);
    }
    record.setKind("SCM_SHARED_OTHERS");
    EXPECT_EQ(record.getKind(), "");
    record.setKind("SCM_SHARED_TYPES");
    record.setKind("no such kind");
    EXPECT_EQ(record.getKind(), "SCM_SHARED_TYPES");
    EXPECT_STREQ(SCMSharedTypesDataConstantsData().getFullyQualifiedKobjTypeName(),
                 "SharedCodeManager.SharedCommonData");
}

TEST(SharedTypesData, MergeComparesNamesAndKeepsTheStoredFields) {
    SCMSharedTypesData stored("T");
    stored.setDefinition("typedef int T;");
    SCMSharedTypesData sameName("T");
    sameName.setDefinition("typedef long T;");
    SCMSharedTypesData otherName("U");
    EXPECT_EQ(stored.update(&sameName), IS_PRESENT_UPDATE);
    EXPECT_EQ(stored.getDefinition(), "typedef int T;");
    EXPECT_EQ(stored.update(&otherName), IS_PRESENT_ERROR);

    SCMSharedData data("T");
    EXPECT_EQ(data.update(&sameName), IS_PRESENT_UPDATE);  // the name rule of the common base
}

TEST(SharedData, CopyAndCloneCarryEveryField) {
    SCMSharedData source("D");
    source.setKind("SCM_SHARED_DATA_DEFINITION");
    source.setMangleName("mD");
    source.setFileName("d.c");
    source.setDefinition("int D;");
    source.setDependencies("A,B");
    source.setBuiltin(true);
    source.setAliasedType("alias");
    source.setCscComment("csc comment");
    source.setCscName("csc");
    source.setMemSecAddPragma(1);
    source.setMemSecComment("ms comment");
    source.setMemSecName("ms");
    source.setMemSecPostPragma(2);
    source.setMemSecPrePragma(3);
    source.setPackageName("pkg");

    std::unique_ptr<SCMData> clone(source.clone());
    for (const SCMSharedData* copy : {static_cast<const SCMSharedData*>(clone.get()),
                                      static_cast<const SCMSharedData*>(new SCMSharedData(source))}) {
        EXPECT_EQ(copy->getName(), "D");
        EXPECT_EQ(copy->getKind(), "SCM_SHARED_DATA_DEFINITION");
        EXPECT_EQ(copy->getMangleName(), "mD");
        EXPECT_EQ(copy->getFileName(), "d.c");
        EXPECT_EQ(copy->getDefinition(), "int D;");
        EXPECT_EQ(copy->getDependencies(), "A,B");
        EXPECT_TRUE(copy->getBuiltin());
        EXPECT_EQ(copy->getAliasedType(), "alias");
        EXPECT_EQ(copy->getCscComment(), "csc comment");
        EXPECT_EQ(copy->getCscName(), "csc");
        EXPECT_EQ(copy->getMemSecAddPragma(), 1);
        EXPECT_EQ(copy->getMemSecComment(), "ms comment");
        EXPECT_EQ(copy->getMemSecName(), "ms");
        EXPECT_EQ(copy->getMemSecPostPragma(), 2);
        EXPECT_EQ(copy->getMemSecPrePragma(), 3);
        EXPECT_EQ(copy->getPackageName(), "pkg");
        if (copy != clone.get()) delete copy;
    }
}

TEST(SharedConstantsData, MergeOnlyEverSwitchesGenerationOn) {
    SCMSharedConstantsData stored("C");
    SCMSharedConstantsData on("other name");
    on.setDoUpdate(true);
    SCMSharedConstantsData off("C");
    EXPECT_EQ(stored.update(&on), IS_PRESENT_UPDATE);
    EXPECT_TRUE(stored.getDoUpdate());
    EXPECT_EQ(stored.update(&off), IS_PRESENT_UPDATE);
    EXPECT_TRUE(stored.getDoUpdate());
    EXPECT_EQ(stored.getName(), "C");
}

TEST(SharedConstantsData, CloneCarriesEveryField) {
    SCMSharedConstantsData source("C");
    source.setInitialString("3.14");
    source.setParamPrefix("p_");
    source.setWidth("1");
    source.setDataType("double");
    source.setComplex(true);
    source.setMultiword(true);
    source.setDoUpdate(true);
    source.setDefinition("#define C 3.14");
    std::unique_ptr<SCMData> clone(source.clone());
    const auto& copy = static_cast<const SCMSharedConstantsData&>(*clone);
    EXPECT_EQ(copy.getInitialString(), "3.14");
    EXPECT_EQ(copy.getParamPrefix(), "p_");
    EXPECT_EQ(copy.getWidth(), "1");
    EXPECT_EQ(copy.getDataType(), "double");
    EXPECT_TRUE(copy.getComplex());
    EXPECT_TRUE(copy.getMultiword());
    EXPECT_TRUE(copy.getDoUpdate());
    EXPECT_EQ(copy.getDefinition(), "#define C 3.14");
    EXPECT_STREQ(copy.getFullyQualifiedKobjTypeName(), "SharedCodeManager.SharedConstantsData");
}

}  // namespace
