#include <gtest/gtest.h>

#include <functional>
#include <memory>
#include <vector>

#include "kobj/Allocator.hpp"
#include "kobj/COSClient.hpp"
#include "kobj/COSPackage.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/Error.hpp"
#include "kobj/HandleCast.hpp"
#include "kobj/ObjectAccess.hpp"
#include "kobj/ObjectValues.hpp"
#include "kobj/PropertyAttributes.hpp"
#include "support/TestShapes.hpp"

namespace {

using kobjtest::errorOf;
using kobjtest::Circle;
using kobjtest::Shape;
using kobjtest::Square;

kobj::ClassRegistry& registry() { return kobj::ClassRegistry::instance(); }

void releasePackage() {
    kobj::COSPackage::getPackageInterface("kobjtest").release(kobj::COSGetPublicClient());
}

// The test package, registered anew: none of its classes is published yet.
void freshPackage() {
    releasePackage();
    ASSERT_TRUE(kobj::COSPackage::addPackage(std::make_unique<kobjtest::ShapesPackage>()));
}

class KobjClassSystemTest : public ::testing::Test {
protected:
    void SetUp() override {
        if (!kobj::COSPackage::getPackageInterface("kobjtest")) {
            kobj::COSPackage::addPackage(std::make_unique<kobjtest::ShapesPackage>());
        }
    }

    static qaArray text(const char* value) { return qaArray::fromText(value); }
};

TEST_F(KobjClassSystemTest, ClassesArePublishedOnFirstUseAndOnlyOnce) {
    freshPackage();
    auto& runs = kobjtest::ShapesPackage::publications();
    const int shapeRuns = runs["kobjtest.Shape"];
    const int circleRuns = runs["kobjtest.Circle"];
    EXPECT_FALSE(registry().isPublished("kobjtest.Circle"));
    kobj::construct("kobjtest.Circle", {text("c")});
    EXPECT_TRUE(registry().isPublished("kobjtest.Circle"));
    EXPECT_TRUE(registry().isPublished("kobjtest.Shape")) << "a superclass is published first";
    EXPECT_FALSE(registry().isPublished("kobjtest.Square"));
    kobj::construct("kobjtest.Circle", {});
    EXPECT_EQ(runs["kobjtest.Circle"], circleRuns + 1);
    EXPECT_EQ(runs["kobjtest.Shape"], shapeRuns + 1);
}

TEST_F(KobjClassSystemTest, ReleasingAPackageWithdrawsItsClassesAndFreesItsObjects) {
    releasePackage();
    const std::size_t blocksBefore = kobj::cosLiveBlocks();
    freshPackage();
    EXPECT_EQ(registry().packageClasses("kobjtest").size(), 3u) << "the class list loads here";
    EXPECT_EQ(kobj::cosLiveBlocks(), blocksBefore + 4) << "the package and its three class infos";
    EXPECT_FALSE(kobj::COSPackage::addPackage(std::make_unique<kobjtest::ShapesPackage>()))
        << "a second package of the same name is refused";
    EXPECT_EQ(kobj::cosLiveBlocks(), blocksBefore + 4);

    kobj::COSPackageInterface package = kobj::COSPackage::getPackageInterface("kobjtest");
    EXPECT_TRUE(package.release(kobj::COSGetPublicClient()));
    EXPECT_EQ(kobj::cosLiveBlocks(), blocksBefore);
    Circle circle;
    EXPECT_EQ(registry().classOf(circle), nullptr) << "its C++ types no longer map to a class";
}

TEST_F(KobjClassSystemTest, PropertiesAreReadAndWrittenByPublishedName) {
    qaArray circle = kobj::construct("kobjtest.Circle", {});
    kobj::setProperty(circle, "Radius", qaArray::fromUInt32(0xFFFFFFFFu));
    kobj::setProperty(circle, "Name", text("inherited"));
    EXPECT_EQ(kobj::getProperty(circle, "Radius").uint32Value(), 0xFFFFFFFFu);
    EXPECT_EQ(kobj::getProperty(circle, "Name").text(), "inherited");
    EXPECT_EQ(kobj::getProperty(circle, "Diameter").uint32Value(), 0xFFFFFFFEu);
}

TEST_F(KobjClassSystemTest, MisusesHaveStableIdentifiersAndChangeNothing) {
    qaArray circle = kobj::construct("kobjtest.Circle", {});
    const std::pair<std::function<void()>, const char*> misuses[] = {
        {[] { kobj::construct("kobjtest.Shape", {}); }, "kobj:abstractClass"},
        {[] { kobj::construct("kobjtest.Triangle", {}); }, "kobj:unknownClass"},
        {[] { kobj::construct("nopackage.Circle", {}); }, "kobj:unknownClass"},
        {[] { kobj::construct("kobjtest.Circle", {qaArray::fromUInt32(3)}); }, "kobj:noMatchingConstructor"},
        {[&] { kobj::setProperty(circle, "Diameter", qaArray::fromUInt32(2)); }, "kobj:readOnlyProperty"},
        {[&] { kobj::getProperty(circle, "Colour"); }, "kobj:unknownProperty"},
        {[&] { kobj::setProperty(circle, "Radius", qaArray::fromInt32(-1)); }, "kobj:errorMustBeUInt32Scalar"},
        {[&] { kobj::getProperty(text("not an object"), "Radius"); }, "kobj:notAnObject"},
        {[&] { kobj::callMethod(circle, "describe", {}); }, "kobj:wrongNumberOfArguments"},
        {[&] { kobj::callMethod(circle, "rotate", {}); }, "kobj:unknownMethod"},
    };
    for (const auto& [misuse, identifier] : misuses) EXPECT_EQ(errorOf(misuse).identifier(), identifier);
    EXPECT_EQ(kobj::getProperty(circle, "Radius").uint32Value(), 0u);
}

TEST_F(KobjClassSystemTest, ConstructorsAndMethodsAreChosenByName) {
    qaArray circle = kobj::construct("kobjtest.Circle", {text("c"), qaArray::fromUInt32(2)});
    EXPECT_EQ(kobj::getProperty(circle, "Radius").uint32Value(), 2u);
    EXPECT_EQ(kobj::getProperty(kobj::construct("kobjtest.Circle", {text("d")}), "Name").text(), "d");
    EXPECT_EQ(kobj::callMethod(circle, "describe", {text("shape ")}).text(), "shape c");
}

TEST_F(KobjClassSystemTest, ObjectArraysSettleOnTheNearestCommonClass) {
    const auto rowClass = [](std::vector<tv::mi::Handle*> objects) {
        return kobj::ownedObjectRow(objects, kobj::kHeterogeneousRootName).className();
    };
    EXPECT_EQ(rowClass({new Circle, new Circle}), "kobjtest.Circle");
    EXPECT_EQ(rowClass({new Circle, new Square}), "kobjtest.Shape");
    EXPECT_EQ(rowClass({new Circle, new kobjtest::Stray}), kobj::kHeterogeneousRootName)
        << "an element of no class keeps the declared class";
    EXPECT_EQ(rowClass({}), kobj::kHeterogeneousRootName);
}

TEST_F(KobjClassSystemTest, ScriptValuesGiveBackObjectsOfTheClassOrASubclass) {
    Circle circle;
    const qaArray borrowed = circle.toScriptValue();
    EXPECT_EQ(tv::mi::Handle::fromScriptValue(borrowed, "kobjtest.Circle"), &circle);
    EXPECT_EQ(tv::mi::Handle::fromScriptValue(borrowed, "kobjtest.Shape"), &circle);
    EXPECT_EQ(tv::mi::Handle::fromScriptValue(borrowed, "kobjtest.Square"), nullptr);
    EXPECT_EQ(tv::mi::Handle::releaseFromScriptValue(borrowed, "kobjtest.Circle"), nullptr)
        << "a borrowed object cannot be taken over";

    kobjtest::MarkedCircle marked;
    EXPECT_EQ(tv::mi::Handle::fromScriptValue(marked.toScriptValue(), "kobjtest.Shape"), &marked)
        << "an unpublished subclass belongs to the class it reports";
    kobjtest::Stray stray;
    EXPECT_EQ(tv::mi::Handle::fromScriptValue(stray.toScriptValue(), kobj::kHeterogeneousRootName),
              nullptr);
}

// The cast remembers the subclass it met last: its answers stay those of dynamic_cast whatever
// objects came before.
TEST_F(KobjClassSystemTest, HandleCastAnswersAsDynamicCastWhateverCameBefore) {
    Circle circle;
    Square square;
    kobjtest::MarkedCircle marked;
    kobjtest::Stray stray;
    const std::vector<tv::mi::Handle*> objects{&circle, &square, &marked, &square, &stray, &stray, &marked, nullptr};
    for (tv::mi::Handle* object : objects) {
        EXPECT_EQ(tv::mi::handleCast<Circle>(object), dynamic_cast<Circle*>(object));
        EXPECT_EQ(tv::mi::handleCast<Shape>(object), dynamic_cast<Shape*>(object));
    }
}

TEST_F(KobjClassSystemTest, OwnedValuesHandTheirObjectOverOnce) {
    auto* circle = new Circle("owned");
    qaArray owned = kobj::ownedObject(circle, "kobjtest.Shape");
    const qaArray copy = owned;
    std::unique_ptr<tv::mi::Handle> taken(
        tv::mi::Handle::releaseFromScriptValue(copy, "kobjtest.Shape"));
    EXPECT_EQ(taken.get(), circle);
    EXPECT_EQ(tv::mi::Handle::releaseFromScriptValue(owned, "kobjtest.Shape"), nullptr);

    qaArray absent = kobj::ownedObject(nullptr, "kobjtest.Shape");
    EXPECT_EQ(absent.numel(), 0u);
    EXPECT_EQ(absent.className(), "kobjtest.Shape");
}

TEST_F(KobjClassSystemTest, RecordsDescribeTheClassAsPublished) {
    const kobj::ClassRecord& circle = registry().getClass("kobjtest.Circle");
    std::vector<std::string> names;
    for (const kobj::COSPropInfo* property : circle.allProperties()) names.push_back(property->name());
    EXPECT_EQ(names, (std::vector<std::string>{"Label", "Name", "Radius",
                                               "Diameter"}));
    EXPECT_EQ(circle.findProperty("Radius")->attributes(), kobj::attributes::kHidden);
    EXPECT_TRUE(registry().getClass("kobjtest.Shape").isAbstract());
    EXPECT_FALSE(circle.isA("kobjtest.Square"));
}

}  // namespace
