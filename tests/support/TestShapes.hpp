#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <string>
#include <vector>

#include "kobj/COSPackageInfo.hpp"
#include "kobj/factory/ClassBuilder.hpp"
#include "kobj/Handle.hpp"
#include "kobj/HandleClass.hpp"

// A small package of classes, independent of the library, for testing the class system itself:
// "kobjtest.Shape" (abstract) with "kobjtest.Circle" and "kobjtest.Square" below it.
namespace kobjtest {

class Shape : public tv::mi::Handle {
public:
    explicit Shape(std::string name = "") { setName(name); }
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Shape"; }

    const std::string& getName() const { return name_; }
    // Also derives the label from the name, as a checksum follows from key fields.
    void setName(const std::string& name) {
        name_ = name;
        label_ = "derived:" + name;
    }
    const std::string& getLabel() const { return label_; }
    void setLabel(const std::string& label) { label_ = label; }
    std::string describe(const std::string& prefix) const { return prefix + name_; }

    void preSetPropFcn(const char*) override { ++preSetCalls; }
    void postSetPropFcn(const char*) override { ++postSetCalls; }
    int preSetCalls = 0;
    int postSetCalls = 0;

private:
    std::string name_;
    std::string label_;
};

class Circle : public Shape {
public:
    Circle() = default;
    explicit Circle(const std::string& name) : Shape(name) {}
    Circle(const std::string& name, std::uint32_t radius) : Shape(name), radius_(radius) {}
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Circle"; }

    std::uint32_t getRadius() const { return radius_; }
    void setRadius(std::uint32_t radius) { radius_ = radius; }
    std::int32_t getOffset() const { return offset_; }
    void setOffset(std::int32_t offset) { offset_ = offset; }
    bool getFilled() const { return filled_; }
    void setFilled(bool filled) { filled_ = filled; }
    std::vector<std::string> getTags() const { return tags_; }
    void setTags(const std::vector<std::string>& tags) { tags_ = tags; }
    std::uint32_t getDiameter() const { return 2 * radius_; }
    Circle* scaled(std::uint32_t factor) const { return new Circle(getName(), radius_ * factor); }

private:
    std::uint32_t radius_ = 0;
    std::int32_t offset_ = 0;
    bool filled_ = false;
    std::vector<std::string> tags_;
};

class Square : public Shape {
public:
    explicit Square(std::uint32_t side) : side_(side) {}
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Square"; }
    std::uint32_t getSide() const { return side_; }

private:
    std::uint32_t side_;
};

// Not published itself: it reports its published base class.
class MarkedCircle : public Circle {};

// Of no published class at all.
class Stray : public tv::mi::Handle {
public:
    const char* getFullyQualifiedKobjTypeName() const override { return "kobjtest.Stray"; }
};

// The package "kobjtest" with the three classes; counts how often each class is published.
class ShapesPackage : public kobj::COSPackageInfo {
public:
    const char* name() const override { return "kobjtest"; }

    static std::map<std::string, int>& publications();  // published name -> routine runs

protected:
    void loadClassList(kobj::PackageRegistrar& registrar) override;
};

}  // namespace kobjtest
