// Data records: each class's merge rule, the traceability query and the list setters.
#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <stdexcept>

#include "SCMBasicUtilityData.hpp"
#include "SCMGenericData.hpp"
#include "SCMModuleEntry.hpp"
#include "SCMMultiWordFcnData.hpp"
#include "SCMSharedConstantsData.hpp"
#include "SCMSharedData.hpp"
#include "SCMSharedFunctionData.hpp"
#include "SCMSharedTypesData.hpp"
#include "kobj/ObjectEncoding.hpp"

namespace {

using namespace SCM;
using Names = std::vector<std::string>;
using Make = std::function<SCMData*()>;

SCMBasicUtilityData* utility(const std::string& identifier, Names models, Names children,
                             Names traceability, bool flags) {
    auto* record = new SCMBasicUtilityData("rt_foo", identifier);
    record->setModelNames(models);
    record->setChildren(children);
    record->setTraceability(traceability);
    record->setMultiword(flags);
    record->setComplex(flags);
    return record;
}

template <typename T, typename... Arguments>
Make make(Arguments... arguments) {
    return [=] { return new T(arguments...); };
}

SCMSharedFunctionData* function(const char* name, const char* file) {
    return new SCMSharedFunctionData(name, file);
}

template <typename T>
Make typed(const char* name, const char* definition) {
    return [=] {
        auto* record = new T(name);
        record->setDefinition(definition);
        return record;
    };
}

Make constant(const char* name, bool generate) {
    return [=] {
        auto* record = new SCMSharedConstantsData(name);
        record->setDoUpdate(generate);
        return record;
    };
}

// A merge: the stored record, the offered one (null: none), the outcome, and what the stored
// record holds afterwards (compared as whole-object encodings).
struct MergeRow {
    const char* what;
    Make stored;
    Make offered;
    SCMRegistry outcome;
    Make after;
};

const MergeRow kMerges[] = {
    {"base accepts anything", make<SCMData>("x"), make<SCMData>("y"), IS_PRESENT_UPDATE,
     make<SCMData>("x")},
    {"base accepts none", make<SCMData>("x"), nullptr, IS_PRESENT_UPDATE, make<SCMData>("x")},
    {"utility: flags, first model, traceability; children only when offered",
     [] { return utility("id", {"m1"}, {"old"}, {"m1:a"}, false); },
     [] { return utility("id", {"p", "q"}, {}, {"p:b"}, true); }, IS_PRESENT_UPDATE,
     [] { return utility("id", {"m1", "p"}, {"old"}, {"m1:a", "p:b"}, true); }},
    {"utility: offered children replace, flags switch off",
     [] { return utility("id", {"m1"}, {"old"}, {}, true); },
     [] { return utility("id", {}, {"c"}, {}, false); }, IS_PRESENT_UPDATE,
     [] { return utility("id", {"m1"}, {"c"}, {}, false); }},
    {"utility: another identifier is refused",
     [] { return utility("id", {}, {"keep"}, {}, false); },
     [] { return utility("other", {"p"}, {"lost"}, {"p:x"}, true); }, IS_PRESENT_ERROR,
     [] { return utility("id", {}, {"keep"}, {}, false); }},
    {"utility: another class is refused", [] { return utility("id", {}, {}, {}, false); },
     make<SCMGenericData>("id"), IS_PRESENT_ERROR, [] { return utility("id", {}, {}, {}, false); }},
    {"generic: same identifier", make<SCMGenericData>("id"), make<SCMGenericData>("id"),
     IS_PRESENT_UPDATE, make<SCMGenericData>("id")},
    {"generic: another identifier", make<SCMGenericData>("id"), make<SCMGenericData>("other"),
     IS_PRESENT_ERROR, make<SCMGenericData>("id")},
    {"multiword: growing union", make<SCMMultiWordFcnData>(Names{"a", "b"}),
     make<SCMMultiWordFcnData>(Names{"c", "a"}), IS_PRESENT_UPDATE,
     make<SCMMultiWordFcnData>(Names{"a", "b", "c"})},
    {"function: another file", [] { return function("f", "x.c"); },
     [] { return function("f", "y.c"); }, IS_PRESENT_UPDATE, [] { return function("f", "x.c"); }},
    {"function: another name", [] { return function("f", "x.c"); },
     [] { return function("g", "x.c"); }, IS_PRESENT_ERROR, [] { return function("f", "x.c"); }},
    {"types: same name keeps the stored fields", typed<SCMSharedTypesData>("T", "int"),
     typed<SCMSharedTypesData>("T", "long"), IS_PRESENT_UPDATE,
     typed<SCMSharedTypesData>("T", "int")},
    {"types: another name", typed<SCMSharedTypesData>("T", "int"),
     typed<SCMSharedTypesData>("U", "int"), IS_PRESENT_ERROR, typed<SCMSharedTypesData>("T", "int")},
    {"data: the name rule of the common base", typed<SCMSharedData>("T", "int"),
     typed<SCMSharedTypesData>("T", "long"), IS_PRESENT_UPDATE, typed<SCMSharedData>("T", "int")},
    {"constants: generation switches on", constant("C", false), constant("other", true),
     IS_PRESENT_UPDATE, constant("C", true)},
    {"constants: and never off", constant("C", true), constant("C", false), IS_PRESENT_UPDATE,
     constant("C", true)},
};

std::string encoded(SCMData& record) { return kobj::encodeObject(record.toScriptValue()); }

TEST(Data, EveryClassMergesByItsRule) {
    HxInitialize_shared_code_manager();
    for (const MergeRow& row : kMerges) {
        std::unique_ptr<SCMData> stored(row.stored());
        std::unique_ptr<SCMData> offered(row.offered ? row.offered() : nullptr);
        std::unique_ptr<SCMData> after(row.after());
        EXPECT_EQ(stored->update(offered.get()), row.outcome) << row.what;
        EXPECT_EQ(encoded(*stored), encoded(*after)) << row.what;
    }
}

SCMBasicUtilityData utilityWithTraceability(const std::set<std::string>& entries) {
    SCMBasicUtilityData record("rt_foo", "id");
    record.setTraceabilitySet(entries);
    return record;
}

TEST(UtilityData, TraceabilityForModelMatchesWholeModelNames) {
    const auto record = utilityWithTraceability({"m2:c", "m10:b", "m1:a"});
    EXPECT_EQ(record.getTraceabilityForModel("m1"), Names{"m1:a"});
    EXPECT_EQ(record.getTraceabilityForModel("m10"), Names{"m10:b"});
    EXPECT_EQ(record.getTraceabilityForModel("m3"), Names{});
    EXPECT_EQ(record.getTraceabilityForModel(""), (Names{"m10:b", "m1:a", "m2:c"}));

    const auto bare = utilityWithTraceability({"m1", "m1:a"});
    EXPECT_THROW(bare.getTraceabilityForModel("m1"), std::out_of_range);
    EXPECT_EQ(bare.getTraceabilityForModel("m"), Names{});
}

// Retiring a model drops its names and its traceability entries, not those of m10 or a bare m1.
TEST(UtilityData, RemoveModelDropsOnlyThatModel) {
    auto record = utilityWithTraceability({"m2:c", "m10:b", "m1:a", "m1:z", "m1"});
    record.setModelNames({"m1", "m10", "m1"});
    EXPECT_TRUE(record.removeModel("m1"));
    EXPECT_EQ(record.getModelNames(), Names{"m10"});
    EXPECT_EQ(record.getTraceability(), (Names{"m1", "m10:b", "m2:c"}));
    EXPECT_FALSE(record.removeModel("m1"));
}

// Traceability and model names are sets (added and set as unions), children and function names
// lists; the set-valued setter replaces.
TEST(UtilityData, ListSettersUnionReplaceOrKeepDuplicates) {
    auto record = utilityWithTraceability({"a"});
    record.setTraceability({"b"});
    record.addTraceability("a");
    EXPECT_EQ(record.getTraceability(), (Names{"a", "b"}));
    record.setTraceabilitySet({"b"});
    EXPECT_EQ(record.getTraceability(), Names{"b"});
    record.addModelName("x");
    record.addModelName("x");
    record.addChild("c");
    record.addChild("c");
    EXPECT_EQ(record.getModelNames().size() * 10 + record.getChildren().size(), 11u);
    SCMMultiWordFcnData list(Names{"a", "a"});
    list.addFcnName("a");
    EXPECT_EQ(list.getFcnNames(), (Names{"a", "a"}));
    EXPECT_TRUE(SCMMultiWordFcnData().getFcnNames().empty());
}

}  // namespace
