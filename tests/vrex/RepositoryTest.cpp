#include <gtest/gtest.h>
#include <libpq-fe.h>

#include "VrexTestSupport.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace vrex_test;
using vrex::PropertyValueMatchRelation;

// All a registry holds, to compare before and after: a file's bytes; for a database, its
// registry's columns and the text of every row of the utilities' table.
std::string storedState(const std::string& location) {
    if (!scm_test::postgresqlSelected()) return readBytes(location);
    PGconn* connection = PQconnectdb(location.c_str());
    std::string state;
    for (const char* query :
         {"SELECT string_agg(table_name || '.' || column_name || ':' || data_type, ',' "
          "ORDER BY table_name, column_name) FROM information_schema.columns WHERE table_schema = 'scm'",
          "SELECT string_agg(u::text, '|' ORDER BY _id) FROM scm.scm_utilities AS u"}) {
        PGresult* result = PQexec(connection, query);
        state += PQresultStatus(result) == PGRES_TUPLES_OK && PQntuples(result) == 1
                     ? std::string(PQgetvalue(result, 0, 0)) + "\n"
                     : std::string("error: ") + PQresultErrorMessage(result);
        PQclear(result);
    }
    PQfinish(connection);
    return state;
}

// The text of a character value; "" for an unset property ([]).
std::string textOf(const qaArray& value) { return value.kind() == qaArray::Kind::Char ? value.text() : ""; }

class RepositoryTest : public ::testing::Test {
protected:
    void SetUp() override { ASSERT_EQ(openRepository(repository_, location_), ""); }

    // Creates one object with all four properties; fails the test on any diagnostic.
    vrex::ObjectRef add(const Category& category, const std::string& checksum, const std::string& name,
                        const std::string& payload) {
        tvdiag::util::diagnostics diagnostics;
        vrex::ObjectRef object = repository_.createObject(category.cls, diagnostics);
        Thing identity("id-" + payload);
        Thing data(payload);
        repository_.setPropertyValue(object, category.checksum, qaArray::fromText(checksum), diagnostics);
        repository_.setPropertyValue(object, category.name, qaArray::fromText(name), diagnostics);
        repository_.setPropertyValue(object, category.identity, thingValue(identity), diagnostics);
        repository_.setPropertyValue(object, category.data, thingValue(data), diagnostics);
        EXPECT_EQ(diagnostics.toString(), "");
        return object;
    }

    // "checksum/name/identity/data" of every object found, one per line.
    std::string listing(const Category& category, const vrex::MatchConstraints& constraints = {}) {
        tvdiag::util::diagnostics diagnostics;
        std::vector<vrex::ObjectRef> objects;
        repository_.findObjects(category.cls, constraints, objects, diagnostics);
        std::string text;
        for (const vrex::ObjectRef& object : objects) {
            text += textOf(repository_.getPropertyValue(object, category.checksum, diagnostics)) + "/" +
                    textOf(repository_.getPropertyValue(object, category.name, diagnostics)) + "/" +
                    payloadOf(repository_.getPropertyValue(object, category.identity, diagnostics)) + "/" +
                    payloadOf(repository_.getPropertyValue(object, category.data, diagnostics)) + "\n";
        }
        EXPECT_EQ(diagnostics.toString(), "");
        return text;
    }

    TempDir dir_;  // metamodel variants
    scm_test::TestRegistry registry_;
    const std::string location_ = registry_.location();
    vrex::DataModelRepository repository_;
};

TEST_F(RepositoryTest, ObjectsRoundTripThroughTheFileInCreationOrder) {
    Category functions(repository_, "SCM_SHARED_FUNCTIONS");
    add(functions, "zzz", "last_name", "first");
    add(functions, "aaa", "first_name", "second");
    add(functions, "mmm", "middle", "third");
    Category types(repository_, "SCM_SHARED_TYPES");
    add(types, "aaa", "a_type", "type");
    repository_.close();

    ASSERT_EQ(openRepository(repository_, location_), "");
    Category reopened(repository_, "SCM_SHARED_FUNCTIONS");
    EXPECT_EQ(listing(reopened),
              "zzz/last_name/id-first/first\naaa/first_name/id-second/second\nmmm/middle/id-third/third\n");
    EXPECT_EQ(listing(Category(repository_, "SCM_SHARED_TYPES")), "aaa/a_type/id-type/type\n");
    EXPECT_EQ(listing(Category(repository_, "SCM_NUM")), "");
}

TEST_F(RepositoryTest, EightBitTextKeepsEveryByteAndMatchesExactly) {
    Category utilities(repository_, "SCM_UTILITIES");
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
    const std::string withNul("rt_\0tail", 8);
    vrex::ObjectRef object = add(utilities, allBytes, withNul, "bytes\xff\x01");
    add(utilities, "other", std::string("rt_"), "prefix");

    tvdiag::util::diagnostics diagnostics;
    EXPECT_EQ(repository_.getPropertyValue(object, utilities.checksum, diagnostics).text(), allBytes);
    EXPECT_EQ(repository_.getPropertyValue(object, utilities.name, diagnostics).text(), withNul);
    EXPECT_EQ(payloadOf(repository_.getPropertyValue(object, utilities.data, diagnostics)), "bytes\xff\x01");

    vrex::MatchConstraints byName;
    byName.add(utilities.name, PropertyValueMatchRelation::Equals, withNul);
    std::vector<vrex::ObjectRef> found;
    repository_.findObjects(utilities.cls, byName, found, diagnostics);
    ASSERT_EQ(found.size(), 1u);  // "rt_" alone does not match "rt_\0tail"
    EXPECT_EQ(found[0], object);
    EXPECT_TRUE(diagnostics.empty());
}

TEST_F(RepositoryTest, ConstraintsSelectByEqualityInequalityAndTheirConjunction) {
    Category data(repository_, "SCM_SHARED_DATA");
    add(data, "c1", "alpha", "p1");
    add(data, "c2", "beta", "p2");
    add(data, "c1", "gamma", "p3");
    tvdiag::util::diagnostics diagnostics;
    vrex::ObjectRef unnamed = repository_.createObject(data.cls, diagnostics);
    repository_.setPropertyValue(unnamed, data.checksum, qaArray::fromText("c1"), diagnostics);

    vrex::MatchConstraints equal;
    equal.add(data.checksum, PropertyValueMatchRelation::Equals, "c1");
    EXPECT_EQ(listing(data, equal), "c1/alpha/id-p1/p1\nc1/gamma/id-p3/p3\nc1//<none>/<none>\n");

    vrex::MatchConstraints both = equal;
    both.add(data.name, PropertyValueMatchRelation::NotEquals, "alpha");
    // An unset Name differs from "alpha": the unnamed object matches too.
    EXPECT_EQ(listing(data, both), "c1/gamma/id-p3/p3\nc1//<none>/<none>\n");

    vrex::MatchConstraints none;
    none.add(data.checksum, PropertyValueMatchRelation::Equals, "c3");
    EXPECT_EQ(listing(data, none), "");
}

TEST_F(RepositoryTest, UnsetPropertiesReadAsEmptyAndEmptyUnsets) {
    Category constants(repository_, "SCM_SHARED_CONSTANTS");
    tvdiag::util::diagnostics diagnostics;
    vrex::ObjectRef object = repository_.createObject(constants.cls, diagnostics);
    EXPECT_TRUE(repository_.getPropertyValue(object, constants.data, diagnostics).isEmpty());
    EXPECT_EQ(repository_.getPropertyValue(object, constants.name, diagnostics).kind(), qaArray::Kind::Empty);
    Thing thing("x");
    repository_.setPropertyValue(object, constants.data, thingValue(thing), diagnostics);
    repository_.setPropertyValue(object, constants.name, qaArray::fromText(""), diagnostics);
    EXPECT_EQ(payloadOf(repository_.getPropertyValue(object, constants.data, diagnostics)), "x");
    EXPECT_EQ(repository_.getPropertyValue(object, constants.name, diagnostics).kind(), qaArray::Kind::Char);
    repository_.setPropertyValue(object, constants.data, qaArray(), diagnostics);
    EXPECT_TRUE(repository_.getPropertyValue(object, constants.data, diagnostics).isEmpty());
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

class RefusingCodec : public ThingCodec {
public:
    qaArray decode(const std::string&) const override { return qaArray(); }
};

TEST_F(RepositoryTest, ATextThatDoesNotDecodeReadsAsEmptyWithoutError) {
    Category utilities(repository_, "SCM_UTILITIES");
    vrex::ObjectRef object = add(utilities, "c", "n", "p");
    repository_.close();
    auto options = thingOptions();
    options.objectCodec = std::make_shared<RefusingCodec>();
    ASSERT_EQ(openRepository(repository_, location_, shippedMetamodel(), options), "");
    Category reopened(repository_, "SCM_UTILITIES");
    tvdiag::util::diagnostics diagnostics;
    std::vector<vrex::ObjectRef> objects;
    repository_.findObjects(reopened.cls, {}, objects, diagnostics);
    ASSERT_EQ(objects.size(), 1u);
    EXPECT_TRUE(repository_.getPropertyValue(objects[0], reopened.data, diagnostics).isEmpty());
    EXPECT_TRUE(diagnostics.empty());
}

// Each misuse is refused with its identifier and changes nothing.
TEST_F(RepositoryTest, MisusesAreRefusedWithDiagnostics) {
    Category utilities(repository_, "SCM_UTILITIES");
    Category functions(repository_, "SCM_SHARED_FUNCTIONS");
    vrex::ObjectRef object = add(utilities, "c", "n", "p");
    Thing thing("t");
    auto firstIdentifier = [](const tvdiag::util::diagnostics& diagnostics) {
        return diagnostics.empty() ? std::string("<none>") : diagnostics.records()[0].identifier;
    };
    auto setting = [&](const vrex::ObjectRef& target, const vrex::PropertyRef& property, const qaArray& value) {
        tvdiag::util::diagnostics diagnostics;
        repository_.setPropertyValue(target, property, value, diagnostics);
        return firstIdentifier(diagnostics);
    };
    EXPECT_EQ(setting(object, utilities.name, thingValue(thing)), "vrex:property:wrongValue");
    EXPECT_EQ(setting(object, utilities.data, qaArray::fromText("text")), "vrex:property:wrongValue");
    EXPECT_EQ(setting(object, functions.name, qaArray::fromText("x")), "vrex:property:notOfClass");
    EXPECT_EQ(setting(object, vrex::PropertyRef(), qaArray::fromText("x")), "vrex:property:null");
    EXPECT_EQ(setting(vrex::ObjectRef(), utilities.name, qaArray::fromText("x")), "vrex:object:nullClass");
    class Stranger : public tv::mi::Handle {
        const char* getFullyQualifiedKobjTypeName() const override { return "Other"; }
    } other;
    EXPECT_EQ(setting(object, utilities.data, other.toScriptValue()), "vrex:property:encodeFailed");

    tvdiag::util::diagnostics diagnostics;
    vrex::ObjectRef gone = repository_.createObject(utilities.cls, diagnostics);
    repository_.performDictionaryFunction(
        [&](tvdiag::util::diagnostics& inner) {
            gone = repository_.createObject(utilities.cls, inner);
            inner.add("test:undo", "roll back the creation");
        },
        diagnostics);
    EXPECT_EQ(setting(gone, utilities.name, qaArray::fromText("x")), "vrex:object:notFound");

    std::vector<vrex::ObjectRef> found;
    vrex::MatchConstraints onObjects;
    onObjects.add(utilities.data, PropertyValueMatchRelation::Equals, "thing:p");
    diagnostics.clear();
    repository_.findObjects(utilities.cls, onObjects, found, diagnostics);
    EXPECT_EQ(firstIdentifier(diagnostics), "vrex:find:badConstraint");
    vrex::MatchConstraints otherClass;
    otherClass.add(functions.checksum, PropertyValueMatchRelation::Equals, "c");
    diagnostics.clear();
    repository_.findObjects(utilities.cls, otherClass, found, diagnostics);
    EXPECT_EQ(firstIdentifier(diagnostics), "vrex:find:badConstraint");
    EXPECT_TRUE(found.empty());

    EXPECT_EQ(listing(utilities).substr(0, 10), "c/n/id-p/p");
}

TEST_F(RepositoryTest, WithoutCodecObjectPropertiesAreRefused) {
    repository_.close();
    vrex::DataModelRepository::Options noCodec = vrex::DataModelRepository::defaultOptions();
    noCodec.objectCodec = nullptr;
    ASSERT_EQ(openRepository(repository_, location_, shippedMetamodel(), noCodec), "");
    Category utilities(repository_, "SCM_UTILITIES");
    tvdiag::util::diagnostics diagnostics;
    vrex::ObjectRef object = repository_.createObject(utilities.cls, diagnostics);
    Thing thing("t");
    repository_.setPropertyValue(object, utilities.data, thingValue(thing), diagnostics);
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:property:noObjectCodec");
}

TEST_F(RepositoryTest, RefsOfAnotherOrAClosedRepositoryAreRefusedSafely) {
    Category mine(repository_, "SCM_UTILITIES");
    scm_test::TestRegistry otherRegistry;
    vrex::DataModelRepository other;
    ASSERT_EQ(openRepository(other, otherRegistry.location()), "");
    tvdiag::util::diagnostics diagnostics;
    other.createObject(mine.cls, diagnostics);
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:object:foreignClass");

    vrex::ObjectRef object = add(mine, "c", "n", "p");
    repository_.close();
    repository_.close();  // idempotent
    diagnostics.clear();
    EXPECT_TRUE(repository_.getPropertyValue(object, mine.name, diagnostics).isEmpty());
    EXPECT_EQ(diagnostics.records().at(0).identifier, "vrex:notOpen");
    EXPECT_EQ(mine.cls.name(), "SCM_UTILITIES");  // the ref outlives its repository
}

TEST_F(RepositoryTest, OpeningTwiceIsRefused) {
    EXPECT_NE(openRepository(repository_, location_).find("vrex:open:alreadyOpen"), std::string::npos);
    EXPECT_TRUE(repository_.isOpen());
}

// Metamodel variants: what the file lacks is added, what the metamodel lacks is kept.
TEST_F(RepositoryTest, VariantMetamodelsExtendTheFileAndKeepWhatTheyDoNotDeclare) {
    Category utilities(repository_, "SCM_UTILITIES");
    add(utilities, "c1", "kept_name", "p1");
    repository_.close();

    const std::string variant = dir_.file("variant.xml");
    writeBytes(variant,
               "<metamodel name=\"variant\" version=\"2\"><package name=\"SCM\">\n"
               "<class name=\"SCM_UTILITIES\"><property name=\"Checksum\" kind=\"text\" indexed=\"true\"/>"
               "<property name=\"Identity\" kind=\"object\"/><property name=\"Data\" kind=\"object\"/>"
               "<property name=\"Extra\" kind=\"text\" indexed=\"true\"/></class>\n"
               "<class name=\"SCM_NEW\"><property name=\"Checksum\" kind=\"text\"/></class>\n"
               "</package></metamodel>\n");
    ASSERT_EQ(openRepository(repository_, location_, variant), "");
    Category lean(repository_, "SCM_UTILITIES");
    EXPECT_FALSE(lean.name);
    tvdiag::util::diagnostics diagnostics;
    vrex::ObjectRef added = repository_.createObject(lean.cls, diagnostics);
    repository_.setPropertyValue(added, lean.checksum, qaArray::fromText("c2"), diagnostics);
    repository_.setPropertyValue(added, lean.cls.findProperty("Extra"), qaArray::fromText("e"), diagnostics);
    Category fresh(repository_, "SCM_NEW");
    repository_.createObject(fresh.cls, diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    repository_.close();

    ASSERT_EQ(openRepository(repository_, location_), "");
    EXPECT_EQ(listing(Category(repository_, "SCM_UTILITIES")), "c1/kept_name/id-p1/p1\nc2//<none>/<none>\n");
}

TEST_F(RepositoryTest, AMetamodelThatChangesAPropertyKindIsRefusedAndTheFileKept) {
    add(Category(repository_, "SCM_UTILITIES"), "c1", "n", "p");
    repository_.close();
    const std::string before = storedState(location_);
    const std::string conflicting = dir_.file("conflict.xml");
    writeBytes(conflicting,
               "<metamodel name=\"conflict\" version=\"1\"><package name=\"SCM\">\n"
               "<class name=\"SCM_UTILITIES\">\n<property name=\"Name\" kind=\"object\"/></class>\n"
               "<class name=\"SCM_LATER\"><property name=\"Checksum\" kind=\"text\"/></class>\n"
               "</package></metamodel>\n");
    std::string errors = openRepository(repository_, location_, conflicting);
    EXPECT_NE(errors.find("vrex:open:metamodelMismatch"), std::string::npos) << errors;
    EXPECT_NE(errors.find(conflicting + ":3"), std::string::npos) << errors;
    EXPECT_FALSE(repository_.isOpen());
    EXPECT_EQ(storedState(location_), before);
}

TEST_F(RepositoryTest, AReadOnlyRepositoryReadsAndRefusesWrites) {
    add(Category(repository_, "SCM_UTILITIES"), "c1", "n", "p");
    repository_.close();
    const std::string before = storedState(location_);
    auto options = thingOptions();
    options.readOnly = true;
    ASSERT_EQ(openRepository(repository_, location_, shippedMetamodel(), options), "");
    Category utilities(repository_, "SCM_UTILITIES");
    EXPECT_EQ(listing(utilities), "c1/n/id-p/p\n");
    tvdiag::util::diagnostics diagnostics;
    EXPECT_TRUE(repository_.createObject(utilities.cls, diagnostics).isNull());
    ASSERT_EQ(diagnostics.size(), 1u);
    EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:readOnly");
    repository_.close();
    EXPECT_EQ(storedState(location_), before);
}

}  // namespace
