#pragma once

#include <functional>
#include <map>
#include <memory>
#include <cstdint>
#include <string>

#include <gtest/gtest.h>

#include "kobj/COSPackageInfo.hpp"
#include "kobj/ClassRegistry.hpp"
#include "kobj/Error.hpp"
#include "kobj/Handle.hpp"
#include "kobj/HandleClass.hpp"
#include "kobj/PropertyAttributes.hpp"
#include "kobj/factory/TypedClassBuilder.hpp"

// The class-system tests' kit: a small package of classes, independent of the library:
// "kobjtest.Shape" (abstract) with "kobjtest.Circle" and "kobjtest.Square" below it; and errorOf.
namespace kobjtest {

// The kobj::Error that `call` throws; fails the test when it throws none.
template <class Call>
kobj::Error errorOf(Call call) {
    try {
        call();
    } catch (const kobj::Error& error) {
        return error;
    }
    ADD_FAILURE() << "no kobj::Error thrown";
    return kobj::Error("none", "no error");
}

class Shape : public tv::mi::Handle {
public:
    explicit Shape(std::string name = "") { setName(name); }
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Shape"; }

    const std::string& getName() const { return name_; }
    // Also derives the label from the name, as a checksum follows from key fields.
    void setName(const std::string& name) {
        ++nameWrites();
        name_ = name;
        label_ = "derived:" + name;
    }
    const std::string& getLabel() const { return label_; }
    void setLabel(const std::string& label) { label_ = label; }
    std::string describe(const std::string& prefix) const { return prefix + name_; }
    // How often the name of any shape was written, constructors included.
    static int& nameWrites() {
        static int count = 0;
        return count;
    }

private:
    std::string name_, label_;
};

class Circle : public Shape {
public:
    Circle() = default;
    explicit Circle(const std::string& name, std::uint32_t radius = 0) : Shape(name), radius_(radius) {}
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Circle"; }

    std::uint32_t getRadius() const { return radius_; }
    void setRadius(std::uint32_t radius) { radius_ = radius; }
    std::uint32_t getDiameter() const { return 2 * radius_; }

private:
    std::uint32_t radius_ = 0;
};

struct Square : Shape {
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Square"; }
};

// Not published itself: it reports its published base class.
class MarkedCircle : public Circle {};

// Of no published class at all.
struct Stray : tv::mi::Handle {
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Stray"; }
};

// The package "kobjtest" with the three classes; counts how often each class is published.
class ShapesPackage : public kobj::COSPackageInfo {
    using Builder = kobj::factory::ClassBuilder;

public:
    const char* name() const override { return "kobjtest"; }

    static std::map<std::string, int>& publications() {  // published name -> routine runs
        static std::map<std::string, int> counts;
        return counts;
    }

protected:
    void loadClassList(kobj::PackageRegistrar& registrar) override {
        registrar.addClass(std::make_unique<RoutineClassInfo>("Shape", publishShape));
        registrar.addClass(std::make_unique<RoutineClassInfo>("Circle", publishCircle));
        registrar.addClass(std::make_unique<RoutineClassInfo>("Square", [](Builder& builder) {
            kobj::factory::TypedClassBuilder<Square>(builder).addSuperclass("kobjtest.Shape");
        }));
    }

private:
    class RoutineClassInfo : public tv::mi::HandleClass {
    public:
        RoutineClassInfo(const char* shortName, std::function<void(Builder&)> routine)
            : tv::mi::HandleClass(shortName, "test class"), routine_(std::move(routine)) {}

    protected:
        void publish(Builder& builder) override {
            ++publications()[publishedName()];
            routine_(builder);
        }

    private:
        std::function<void(Builder&)> routine_;
    };

    static void publishShape(Builder& builder) {
        kobj::factory::TypedClassBuilder<Shape> shape(builder);
        shape.addSuperclass(kobj::kHeterogeneousRootName);
        shape.addMethod("describe", {"char vector"}, {"char"}, &Shape::describe);
        // Label comes first so that a rebuild in text order would overwrite it through setName.
        shape.addProperty("Label", "char vector", kobj::attributes::kDependent, &Shape::getLabel,
                          &Shape::setLabel);
        shape.addProperty("Name", "char vector", kobj::attributes::kNone, &Shape::getName, &Shape::setName);
    }

    static void publishCircle(Builder& builder) {
        kobj::factory::TypedClassBuilder<Circle> circle(builder);
        circle.addSuperclass("kobjtest.Shape");
        circle.addConstructor<std::string, std::uint32_t>({"char", "uint32 scalar"});
        circle.addConstructor<std::string>({"char"});
        circle.addConstructor<>({});
        circle.addProperty("Radius", "uint32 scalar", kobj::attributes::kHidden, &Circle::getRadius,
                           &Circle::setRadius);
        circle.addReadOnlyProperty("Diameter", "uint32 scalar", 0, &Circle::getDiameter);
    }
};

}  // namespace kobjtest
