#include "support/TestShapes.hpp"

#include <memory>

#include "kobj/ClassRegistry.hpp"
#include "kobj/ObjectValues.hpp"
#include "kobj/PropertyAttributes.hpp"
#include "kobj/factory/TypedClassBuilder.hpp"

namespace kobjtest {

namespace {

using kobj::factory::ClassBuilder;
using kobj::factory::TypedClassBuilder;

class RoutineClassInfo : public tv::mi::HandleClass {
public:
    RoutineClassInfo(const char* shortName, std::function<void(ClassBuilder&)> routine)
        : tv::mi::HandleClass(shortName, "test class"), routine_(std::move(routine)) {}

protected:
    void publish(ClassBuilder& builder) override {
        ++ShapesPackage::publications()[publishedName()];
        routine_(builder);
    }

private:
    std::function<void(ClassBuilder&)> routine_;
};

void publishShape(ClassBuilder& builder) {
    TypedClassBuilder<Shape> shape(builder);
    shape.addSuperclass(kobj::kHeterogeneousRootName);
    shape.addMethod("describe", {"char vector"}, {"char"}, &Shape::describe);
    // Label comes first so that a rebuild in text order would overwrite it through setName.
    shape.addProperty("Label", "char vector", kobj::attributes::kDependent, &Shape::getLabel,
                      &Shape::setLabel);
    shape.addProperty("Name", "char vector", kobj::attributes::kNone, &Shape::getName,
                      &Shape::setName);
}

void publishCircle(ClassBuilder& builder) {
    TypedClassBuilder<Circle> circle(builder);
    circle.addSuperclass("kobjtest.Shape");
    circle.addConstructor<std::string, std::uint32_t>({"char", "uint32 scalar"});
    circle.addConstructor<std::string>({"char"});
    circle.addConstructor<>({});
    circle.addCustomMethod("scaled", {"kobjtest.Circle"}, {"uint32 scalar"},
                           [](Circle& self, const kobj::factory::Arguments& arguments) {
                               return kobj::ownedObject(
                                   self.scaled(arguments.get<std::uint32_t>(0)), "kobjtest.Circle");
                           });
    circle.addProperty("Radius", "uint32 scalar", 0, &Circle::getRadius, &Circle::setRadius);
    circle.addProperty("Offset", "int32 scalar", 0, &Circle::getOffset, &Circle::setOffset);
    circle.addProperty("Filled", "logical scalar", kobj::attributes::kHidden, &Circle::getFilled,
                       &Circle::setFilled);
    circle.addProperty("Tags", "cell", 0, &Circle::getTags, &Circle::setTags);
    circle.addReadOnlyProperty("Diameter", "uint32 scalar", 0, &Circle::getDiameter);
}

void publishSquare(ClassBuilder& builder) {
    TypedClassBuilder<Square> square(builder);
    square.addSuperclass("kobjtest.Shape");
    square.addConstructor<std::uint32_t>({"uint32 scalar"});
    square.addReadOnlyProperty("Side", "uint32 scalar", 0, &Square::getSide);
}

}  // namespace

std::map<std::string, int>& ShapesPackage::publications() {
    static std::map<std::string, int> counts;
    return counts;
}

void ShapesPackage::loadClassList(kobj::PackageRegistrar& registrar) {
    registrar.addClass(std::make_unique<RoutineClassInfo>("Shape", publishShape));
    registrar.addClass(std::make_unique<RoutineClassInfo>("Circle", publishCircle));
    registrar.addClass(std::make_unique<RoutineClassInfo>("Square", publishSquare));
}

}  // namespace kobjtest
