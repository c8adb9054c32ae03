#pragma once

#include <memory>
#include <string>
#include <typeindex>

#include "kobj/COSPropInfo.hpp"
#include "kobj/factory/KobjConstructor.hpp"
#include "kobj/factory/KobjMethod.hpp"

namespace kobj {
class ClassRecord;
}

namespace kobj::factory {

// What a publishing routine receives: adds the superclass, constructors, methods and properties
// of one class to its record, which owns them from then on. Publishing mistakes (a second
// superclass, a member published twice) throw std::logic_error. Publishing routines usually work
// through a TypedClassBuilder, which binds members of the library class.
class ClassBuilder {
public:
    explicit ClassBuilder(ClassRecord& record);

    // The published name of the class being built.
    const std::string& className() const;

    void addSuperclass(std::string className);
    void addConstructor(std::unique_ptr<impl::KobjConstructor> constructor);
    void addMethod(std::unique_ptr<KobjMethod> method);
    void addProperty(std::unique_ptr<COSPropInfo> property);
    // Objects whose dynamic C++ type is `type` belong to this class.
    void addNativeType(std::type_index type);

private:
    ClassRecord& record_;
};

}  // namespace kobj::factory
