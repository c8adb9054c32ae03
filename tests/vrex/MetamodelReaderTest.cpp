#include <gtest/gtest.h>

#include "VrexTestSupport.hpp"

namespace {

using namespace vrex_test;

const char* const kCategories[] = {"SCM_UTILITIES", "SCM_SHARED_FUNCTIONS", "SCM_SHARED_TYPES", "SCM_OTHER",
                                   "SCM_NUM", "SCM_SHARED_DATA", "SCM_SHARED_CONSTANTS"};

TEST(ShippedMetamodel, DeclaresTheSevenCategoryClassesWithTheirFourProperties) {
    TempDir dir;
    vrex::DataModelRepository repository;
    ASSERT_EQ(openRepository(repository, dir.file("r.reg")), "");
    tvdiag::util::diagnostics diagnostics;
    vrex::PackageRef package = repository.metamodel(diagnostics).findPackage("SCM");
    ASSERT_TRUE(package);
    EXPECT_EQ(package.classes().size(), 7u);
    for (const char* name : kCategories) {
        vrex::ClassRef cls = package.findClass(name);
        ASSERT_TRUE(cls) << name;
        std::string shape;
        for (const vrex::PropertyRef& property : cls.properties()) {
            shape += property.name() + (property.kind() == vrex::PropertyKind::Text ? ":text" : ":object") +
                     (property.isIndexed() ? ":indexed " : " ");
        }
        EXPECT_EQ(shape, "Checksum:text:indexed Name:text:indexed Identity:object Data:object ") << name;
    }
    EXPECT_FALSE(package.findClass("scm_utilities"));  // lookups are exact
    EXPECT_FALSE(package.findClass("SCM_UTILITIES").findProperty("checksum"));
    EXPECT_TRUE(diagnostics.empty());
}

TEST(ShippedMetamodel, NullRefsAnswerEmpty) {
    vrex::MetamodelRef metamodel;
    EXPECT_FALSE(metamodel.findPackage("SCM"));
    EXPECT_FALSE(vrex::PackageRef().findClass("SCM_NUM"));
    EXPECT_FALSE(vrex::ClassRef().findProperty("Name"));
    EXPECT_EQ(vrex::PropertyRef().name(), "");
    EXPECT_TRUE(vrex::ObjectRef().isNull());
}

struct BadMetamodel {
    const char* label;
    const char* xml;
    const char* identifier;
    int line;  // the line the message must name
    const char* words;  // words the message must hold
};

std::ostream& operator<<(std::ostream& out, const BadMetamodel& bad) { return out << bad.label; }

class BadMetamodelTest : public ::testing::TestWithParam<BadMetamodel> {};

TEST_P(BadMetamodelTest, IsRefusedWithFileAndLineAndNoRegistryIsMade) {
    const BadMetamodel& bad = GetParam();
    TempDir dir;
    const std::string metamodel = dir.file("bad.xml");
    writeBytes(metamodel, bad.xml);
    vrex::DataModelRepository repository;
    tvdiag::util::diagnostics diagnostics;
    repository.open(vrex::toUtf16(dir.file("r.reg")), vrex::toUtf16(metamodel), thingOptions(), diagnostics);
    ASSERT_FALSE(diagnostics.empty());
    EXPECT_FALSE(repository.isOpen());
    EXPECT_EQ(diagnostics.records()[0].identifier, bad.identifier);
    const std::string& message = diagnostics.records()[0].message;
    EXPECT_NE(message.find(metamodel + ":" + std::to_string(bad.line) + ":"), std::string::npos) << message;
    EXPECT_NE(message.find(bad.words), std::string::npos) << message;
    EXPECT_FALSE(fs::exists(dir.file("r.reg")));
}

#define HEAD "<?xml version=\"1.0\"?>\n<metamodel name=\"m\" version=\"1\">\n<package name=\"P\">\n"
#define TAIL "</package>\n</metamodel>\n"

// Elements nested 1,000 deep on line 4: libxml2's own depth limit (256 levels, 2048 with
// XML_PARSE_HUGE) must refuse them.
std::string deepMetamodel() {
    std::string xml = HEAD;
    for (int i = 0; i < 1000; ++i) xml += "<class>";
    return xml + "\n" TAIL;
}
const std::string kDeepMetamodel = deepMetamodel();

const BadMetamodel kBadMetamodels[] = {
        BadMetamodel{"nested too deep", kDeepMetamodel.c_str(), "vrex:metamodel:malformed", 4, "depth"},
        BadMetamodel{"unclosed element", HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"text\">\n</class>\n" TAIL,
                     "vrex:metamodel:malformed", 6, "mismatch"},
        BadMetamodel{"not XML", "Checksum, Name\n", "vrex:metamodel:malformed", 1, "Start tag expected"},
        BadMetamodel{"property without kind", HEAD "<class name=\"C\">\n<property name=\"a\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "kind"},
        BadMetamodel{"unknown kind", HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"blob\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "blob"},
        BadMetamodel{"class without properties", HEAD "<class name=\"C\">\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 4, "class"},
        BadMetamodel{"package without classes", HEAD TAIL, "vrex:metamodel:invalid", 3, "package"},
        BadMetamodel{"no packages", "<?xml version=\"1.0\"?>\n<metamodel name=\"m\" version=\"1\">\n</metamodel>\n",
                     "vrex:metamodel:invalid", 2, "metamodel"},
        BadMetamodel{"name that is no identifier",
                     HEAD "<class name=\"C\">\n<property name=\"a; DROP TABLE C\" kind=\"text\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "name"},
        BadMetamodel{"class declared twice in two cases",
                     HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"text\"/>\n</class>\n"
                          "<class name=\"c\">\n<property name=\"a\" kind=\"text\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 7, "declared twice"},
        BadMetamodel{"property declared twice",
                     HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"text\"/>\n<property name=\"A\" kind=\"object\"/>\n"
                          "</class>\n" TAIL,
                     "vrex:metamodel:invalid", 6, "declared twice"},
        BadMetamodel{"reserved name", HEAD "<class name=\"sqlite_stat1\">\n<property name=\"a\" kind=\"text\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 4, "reserved"},
        BadMetamodel{"indexed object property",
                     HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"object\" indexed=\"true\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "only text properties"},
};

INSTANTIATE_TEST_SUITE_P(Cases, BadMetamodelTest, ::testing::ValuesIn(kBadMetamodels));

TEST(MetamodelFile, MissingOrDirectoryIsUnreadable) {
    TempDir dir;
    for (const std::string& metamodel : {dir.file("absent.xml"), dir.path().string()}) {
        vrex::DataModelRepository repository;
        tvdiag::util::diagnostics diagnostics;
        repository.open(vrex::toUtf16(dir.file("r.reg")), vrex::toUtf16(metamodel), thingOptions(), diagnostics);
        ASSERT_EQ(diagnostics.size(), 1u);
        EXPECT_EQ(diagnostics.records()[0].identifier, "vrex:metamodel:unreadable");
        EXPECT_NE(diagnostics.records()[0].message.find(metamodel), std::string::npos);
    }
}

}  // namespace
