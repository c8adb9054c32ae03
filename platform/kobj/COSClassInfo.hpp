#pragma once

#include <cstddef>
#include <memory>
#include <string>

#include "kobj/ClassRecord.hpp"

namespace kobj {

namespace factory {
class ClassBuilder;
}
class ClassRegistry;
class PackageRegistrar;

// The class-info object of one published class: its short name, its description and its
// publishing routine. The class system runs the routine the first time the class is used and
// keeps the record it builds. Allocated through the class system's allocator; owned by its
// package once added to it.
class COSClassInfo {
public:
    COSClassInfo(std::string shortName, std::string description);
    COSClassInfo(const COSClassInfo&) = delete;
    COSClassInfo& operator=(const COSClassInfo&) = delete;
    virtual ~COSClassInfo();

    static void* operator new(std::size_t size);
    static void operator delete(void* block) noexcept;

    const std::string& shortName() const { return shortName_; }
    const std::string& description() const { return description_; }
    // "Package.ShortName"; only the short name until the class is added to a package.
    const std::string& publishedName() const { return publishedName_; }

    // Whether the publishing routine has run.
    bool isPublished() const { return record_ != nullptr; }
    // The record, or null while the class is not published.
    const ClassRecord* record() const { return record_.get(); }

protected:
    // The class's publishing routine: superclass, constructors, methods, properties.
    virtual void publish(factory::ClassBuilder& builder) = 0;

private:
    friend class ClassRegistry;
    friend class PackageRegistrar;

    std::string shortName_;
    std::string description_;
    std::string publishedName_;
    std::unique_ptr<ClassRecord> record_;
};

}  // namespace kobj
