#include <gtest/gtest.h>
#include <libpq-fe.h>

#include "VrexTestSupport.hpp"
#include "support/RegistryDriver.hpp"
#include "support/TestRegistry.hpp"

namespace {

using namespace vrex_test;
using vrex::PropertyValueMatchRelation;
using Diagnostics = tvdiag::util::diagnostics;

// The shape of a registry, to compare before and after: a file's bytes; for a database, the
// columns of its registry's tables.
std::string storedState(const std::string& location) {
    if (!scm_test::postgresqlSelected()) return readBytes(location);
    std::unique_ptr<PGconn, decltype(&PQfinish)> connection(PQconnectdb(location.c_str()), PQfinish);
    std::unique_ptr<PGresult, decltype(&PQclear)> result(
        PQexec(connection.get(), "SELECT string_agg(table_name || '.' || column_name || ':' || data_type, ',' ORDER BY "
                                 "table_name, column_name) FROM information_schema.columns WHERE table_schema = 'scm'"),
        PQclear);
    return PQntuples(result.get()) == 1 ? PQgetvalue(result.get(), 0, 0) : PQresultErrorMessage(result.get());
}

class RepositoryTest : public ::testing::Test {
public:
    void SetUp() override { ASSERT_EQ(openRepository(repository_, location_), ""); }

    // Creates one object with all four properties; fails the test on any diagnostic.
    vrex::ObjectRef add(const std::string& className, const std::string& checksum, const std::string& name,
                        const std::string& payload) {
        const Category category(repository_, className);
        Diagnostics diagnostics;
        vrex::ObjectRef object = repository_.createObject(category.cls, diagnostics);
        Thing identity("id-" + payload);
        Thing data(payload);
        repository_.setPropertyValue(object, category.checksum, qaArray::fromText(checksum), diagnostics);
        repository_.setPropertyValue(object, category.name, qaArray::fromText(name), diagnostics);
        repository_.setPropertyValue(object, category.identity, identity.toScriptValue(), diagnostics);
        repository_.setPropertyValue(object, category.data, data.toScriptValue(), diagnostics);
        EXPECT_EQ(diagnostics.toString(), "");
        return object;
    }

    Category utilities() { return Category(repository_, "SCM_UTILITIES"); }

    // Closes the repository and opens it again with `options`.
    void reopen(const vrex::DataModelRepository::Options& options = thingOptions()) {
        repository_.close();
        ASSERT_EQ(openRepository(repository_, location_, shippedMetamodel(), options), "");
    }

    TempDir dir_;  // metamodel variants
    scm_test::TestRegistry registry_;
    const std::string location_ = registry_.location();
    vrex::DataModelRepository repository_;
};

// Every byte of a text, a NUL included, and every class survive closing and opening again, in
// creation order; a text matches only itself.
TEST_F(RepositoryTest, ObjectsRoundTripInCreationOrderWithEveryByte) {
    std::string allBytes;
    for (int byte = 0; byte < 256; ++byte) allBytes += static_cast<char>(byte);
    const std::string withNul("rt_\0tail", 8);
    add("SCM_SHARED_FUNCTIONS", "zzz", "last_name", "first");
    add("SCM_SHARED_FUNCTIONS", "aaa", "first_name", "second");
    add("SCM_SHARED_TYPES", "aaa", "a_type", "type");
    add("SCM_UTILITIES", allBytes, withNul, "bytes\xff\x01");
    add("SCM_UTILITIES", "other", "rt_", "prefix");
    reopen();

    EXPECT_EQ(listing(repository_, "SCM_SHARED_FUNCTIONS"),
              "1:zzz/last_name/id-first/first\n2:aaa/first_name/id-second/second\n");
    EXPECT_EQ(listing(repository_, "SCM_SHARED_TYPES"), "1:aaa/a_type/id-type/type\n");
    const Category utilities(repository_, "SCM_UTILITIES");
    vrex::MatchConstraints byName;
    byName.add(utilities.name, PropertyValueMatchRelation::Equals, withNul);
    EXPECT_EQ(listing(repository_, "SCM_UTILITIES", byName), "1:" + allBytes + "/" + withNul + "/id-bytes\xff\x01/bytes\xff\x01\n");
}

// Constraints select by equality and by inequality, which an unset property always meets, and
// their conjunction.
TEST_F(RepositoryTest, ConstraintsSelectByEqualityInequalityAndTheirConjunction) {
    add("SCM_SHARED_DATA", "c1", "alpha", "p1");
    add("SCM_SHARED_DATA", "c2", "beta", "p2");
    const Category data(repository_, "SCM_SHARED_DATA");
    Diagnostics diagnostics;
    repository_.setPropertyValue(repository_.createObject(data.cls, diagnostics), data.checksum,
                                 qaArray::fromText("c1"), diagnostics);
    vrex::MatchConstraints both;
    both.add(data.checksum, PropertyValueMatchRelation::Equals, "c1");
    both.add(data.name, PropertyValueMatchRelation::NotEquals, "alpha");
    EXPECT_EQ(listing(repository_, "SCM_SHARED_DATA", both), "3:c1//<none>/<none>\n");
}

// An empty value unsets a property; an empty text is a text.
TEST_F(RepositoryTest, AnEmptyValueUnsetsAndAnEmptyTextIsSet) {
    const vrex::ObjectRef object = add("SCM_SHARED_CONSTANTS", "c", "n", "x");
    const Category constants(repository_, "SCM_SHARED_CONSTANTS");
    Diagnostics diagnostics;
    repository_.setPropertyValue(object, constants.data, qaArray(), diagnostics);
    repository_.setPropertyValue(object, constants.name, qaArray::fromText(""), diagnostics);
    EXPECT_EQ(repository_.getPropertyValue(object, constants.data, diagnostics).kind(), qaArray::Kind::Empty);
    EXPECT_EQ(repository_.getPropertyValue(object, constants.name, diagnostics).kind(), qaArray::Kind::Char);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
}

// Misuse: each call in the wrong state or with the wrong arguments is refused with its identifier
// (the first record) and changes nothing another connection can see.
struct Misuse {
    const char* label;
    const char* identifier;
    std::function<void(RepositoryTest&, const vrex::ObjectRef&, Diagnostics&)> act;
};

std::ostream& operator<<(std::ostream& out, const Misuse& misuse) { return out << misuse.label; }

class RepositoryMisuse : public RepositoryTest, public ::testing::WithParamInterface<Misuse> {};

TEST_P(RepositoryMisuse, IsRefusedAndChangesNothing) {
    const vrex::ObjectRef object = add("SCM_UTILITIES", "c", "n", "p");
    Diagnostics diagnostics;
    GetParam().act(*this, object, diagnostics);
    ASSERT_FALSE(diagnostics.empty());
    EXPECT_EQ(diagnostics.records()[0].identifier, GetParam().identifier) << diagnostics.toString();
    vrex::DataModelRepository reader;
    ASSERT_EQ(openRepository(reader, location_), "");
    EXPECT_EQ(listing(reader, "SCM_UTILITIES"), "1:c/n/id-p/p\n");
}

// Sets `className`.`property` of `object` to `value`.
auto setting(const char* className, const char* property, std::function<qaArray()> value) {
    return [=](RepositoryTest& t, const vrex::ObjectRef& object, Diagnostics& d) {
        const vrex::ClassRef cls = Category(t.repository_, className).cls;
        t.repository_.setPropertyValue(object, cls.findProperty(property), value(), d);
    };
}

// Finds utilities under `className`.`property` = "c".
auto finding(const char* className, const char* property) {
    return [=](RepositoryTest& t, const vrex::ObjectRef&, Diagnostics& d) {
        const Category utilities(t.repository_, "SCM_UTILITIES");
        vrex::MatchConstraints constraints;
        constraints.add(Category(t.repository_, className).cls.findProperty(property), PropertyValueMatchRelation::Equals, "c");
        std::vector<vrex::ObjectRef> found;
        t.repository_.findObjects(utilities.cls, constraints, found, d);
        EXPECT_TRUE(found.empty());
    };
}

class Stranger : public tv::mi::Handle {
    const char* getFullyQualifiedKobjTypeName() const override { return "Other"; }
};

// The objects of the values the table sets (values borrow their object).
Thing aThing("t");
Stranger aStranger;

using T = RepositoryTest;  // the rows' first parameter

const Misuse kMisuses[] = {
    {"thing as text", "vrex:property:wrongValue", setting("SCM_UTILITIES", "Name", [] { return aThing.toScriptValue(); })},
    {"text as thing", "vrex:property:wrongValue", setting("SCM_UTILITIES", "Data", [] { return qaArray::fromText("t"); })},
    {"object the codec refuses", "vrex:property:encodeFailed",
     setting("SCM_UTILITIES", "Data", [] { return aStranger.toScriptValue(); })},
    {"property of another class", "vrex:property:notOfClass",
     setting("SCM_SHARED_FUNCTIONS", "Name", [] { return qaArray::fromText("x"); })},
    {"null property", "vrex:property:null", setting("SCM_UTILITIES", "nosuch", [] { return qaArray::fromText("x"); })},
    {"null object", "vrex:object:nullClass",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) { t.repository_.setPropertyValue({}, t.utilities().name, {}, d); }},
    {"object property without a codec", "vrex:property:noObjectCodec",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) {
         vrex::DataModelRepository::Options noCodec = thingOptions();
         noCodec.objectCodec = nullptr;
         t.reopen(noCodec);
         const Category utilities = t.utilities();
         t.repository_.setPropertyValue(allObjects(t.repository_, utilities).at(0), utilities.data, aThing.toScriptValue(), d);
     }},
    {"constraint on an object property", "vrex:find:badConstraint", finding("SCM_UTILITIES", "Data")},
    {"constraint of another class", "vrex:find:badConstraint", finding("SCM_SHARED_FUNCTIONS", "Checksum")},
    {"class of another repository", "vrex:object:foreignClass",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) {
         scm_test::TestRegistry otherRegistry;
         vrex::DataModelRepository other;
         ASSERT_EQ(openRepository(other, otherRegistry.location()), "");
         other.createObject(t.utilities().cls, d);
     }},
    {"reading a closed repository", "vrex:notOpen",
     [](T& t, const vrex::ObjectRef& object, Diagnostics& d) {
         const Category utilities = t.utilities();
         t.repository_.close();
         t.repository_.close();  // idempotent
         EXPECT_TRUE(t.repository_.getPropertyValue(object, utilities.name, d).isEmpty());
         EXPECT_EQ(utilities.cls.name(), "SCM_UTILITIES");  // the ref outlives its repository
     }},
    {"opening twice", "vrex:open:alreadyOpen",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) {
         t.repository_.open(vrex::toUtf16(t.location_), vrex::toUtf16(shippedMetamodel()), thingOptions(), d);
     }},
    {"commit without a transaction", "vrex:transaction:notOpen",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) { t.repository_.commitTransaction(d); }},
    {"beginning twice", "vrex:transaction:alreadyOpen",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) {
         t.repository_.beginTransaction(d);
         t.repository_.beginTransaction(d);
     }},
    {"beginning inside a function", "vrex:transaction:insideFunction",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) {
         t.repository_.performDictionaryFunction([&](Diagnostics&) { t.repository_.beginTransaction(d); }, d);
     }},
    // What the function created before it closed the repository is rolled back.
    {"closing inside a function", "vrex:function:closed",
     [](T& t, const vrex::ObjectRef&, Diagnostics& d) {
         auto closing = [&](Diagnostics& inner) {
             t.repository_.createObject(t.utilities().cls, inner);
             t.repository_.close();
         };
         t.repository_.performDictionaryFunction(closing, d);
     }},
};

INSTANTIATE_TEST_SUITE_P(Cases, RepositoryMisuse, ::testing::ValuesIn(kMisuses), LabelName());

// Metamodel variants: what the file lacks is added, what the metamodel lacks is kept; one that
// changes a property's kind is refused with its file and line, and the registry is left as it was.
TEST_F(RepositoryTest, VariantMetamodelsExtendTheFileAndConflictingOnesAreRefused) {
    add("SCM_UTILITIES", "c1", "kept_name", "p1");
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
    const Category lean(repository_, "SCM_UTILITIES");
    EXPECT_FALSE(lean.name);
    Diagnostics diagnostics;
    vrex::ObjectRef added = repository_.createObject(lean.cls, diagnostics);
    repository_.setPropertyValue(added, lean.checksum, qaArray::fromText("c2"), diagnostics);
    repository_.setPropertyValue(added, lean.cls.findProperty("Extra"), qaArray::fromText("e"), diagnostics);
    repository_.createObject(Category(repository_, "SCM_NEW").cls, diagnostics);
    EXPECT_TRUE(diagnostics.empty()) << diagnostics.toString();
    reopen();
    EXPECT_EQ(listing(repository_, "SCM_UTILITIES"), "1:c1/kept_name/id-p1/p1\n2:c2//<none>/<none>\n");

    repository_.close();
    const std::string before = storedState(location_);
    const std::string conflicting = dir_.file("conflict.xml");
    writeBytes(conflicting,
               "<metamodel name=\"conflict\" version=\"1\"><package name=\"SCM\">\n"
               "<class name=\"SCM_UTILITIES\">\n<property name=\"Name\" kind=\"object\"/></class>\n"
               "<class name=\"SCM_LATER\"><property name=\"Checksum\" kind=\"text\"/></class>\n"
               "</package></metamodel>\n");
    const std::string errors = openRepository(repository_, location_, conflicting);
    EXPECT_NE(errors.find("vrex:open:metamodelMismatch"), std::string::npos) << errors;
    EXPECT_NE(errors.find(conflicting + ":3"), std::string::npos) << errors;
    EXPECT_FALSE(repository_.isOpen());
    EXPECT_EQ(storedState(location_), before);
}

}  // namespace
