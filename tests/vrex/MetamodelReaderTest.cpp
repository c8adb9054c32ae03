#include <gtest/gtest.h>

#include "VrexTestSupport.hpp"

namespace {

using namespace vrex_test;

struct BadMetamodel {
    const char* label;
    const char* xml;  // null: no file
    const char* identifier;
    int line;  // the line the message must name, 0 for none
    const char* words;  // words the message must hold
};

std::ostream& operator<<(std::ostream& out, const BadMetamodel& bad) { return out << bad.label; }

class BadMetamodelTest : public ::testing::TestWithParam<BadMetamodel> {};

TEST_P(BadMetamodelTest, IsRefusedWithFileAndLineAndNoRegistryIsMade) {
    const BadMetamodel& bad = GetParam();
    TempDir dir;
    const std::string metamodel = dir.file("bad.xml");
    if (bad.xml != nullptr) writeBytes(metamodel, bad.xml);
    vrex::DataModelRepository repository;
    tvdiag::util::diagnostics diagnostics;
    repository.open(vrex::toUtf16(dir.file("r.reg")), vrex::toUtf16(metamodel), thingOptions(), diagnostics);
    ASSERT_FALSE(diagnostics.empty());
    EXPECT_FALSE(repository.isOpen());
    EXPECT_EQ(diagnostics.records()[0].identifier, bad.identifier);
    const std::string& message = diagnostics.records()[0].message;
    EXPECT_NE(message.find(metamodel + (bad.line > 0 ? ":" + std::to_string(bad.line) : "") + ":"), std::string::npos)
        << message;
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
        BadMetamodel{"missing", nullptr, "vrex:metamodel:unreadable", 0, "cannot read"},
        BadMetamodel{"nested too deep", kDeepMetamodel.c_str(), "vrex:metamodel:malformed", 4, "depth"},
        BadMetamodel{"unclosed element", HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"text\">\n</class>\n" TAIL,
                     "vrex:metamodel:malformed", 6, "mismatch"},
        BadMetamodel{"unknown kind", HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"blob\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "blob"},
        BadMetamodel{"name that is no identifier",
                     HEAD "<class name=\"C\">\n<property name=\"a; DROP TABLE C\" kind=\"text\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "name"},
        BadMetamodel{"class declared twice in two cases",
                     HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"text\"/>\n</class>\n"
                          "<class name=\"c\">\n<property name=\"a\" kind=\"text\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 7, "declared twice"},
        BadMetamodel{"reserved name", HEAD "<class name=\"sqlite_stat1\">\n<property name=\"a\" kind=\"text\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 4, "reserved"},
        BadMetamodel{"indexed object property",
                     HEAD "<class name=\"C\">\n<property name=\"a\" kind=\"object\" indexed=\"true\"/>\n</class>\n" TAIL,
                     "vrex:metamodel:invalid", 5, "only text properties"},
};

INSTANTIATE_TEST_SUITE_P(Cases, BadMetamodelTest, ::testing::ValuesIn(kBadMetamodels), LabelName());

}  // namespace
