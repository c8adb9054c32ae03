#pragma once

#include <cstdint>
#include <functional>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <tuple>
#include <type_traits>
#include <typeinfo>
#include <utility>
#include <vector>

#include "kobj/Conversions.hpp"
#include "kobj/EncodingWriter.hpp"
#include "kobj/Error.hpp"
#include "kobj/factory/Arguments.hpp"
#include "kobj/factory/ClassBuilder.hpp"
#include "kobj/factory/KobjConstructor.hpp"
#include "kobj/factory/KobjMethod.hpp"
#include "kobj/factory/PropertyImpl.hpp"
#include "kobj/Handle.hpp"
#include "kobj/HandleCast.hpp"

namespace kobj::factory {

namespace impl {

template <class Setter>
struct SetterArgument;
template <class Base, class Result, class Argument>
struct SetterArgument<Result (Base::*)(Argument)> {
    using type = std::decay_t<Argument>;
};

// Whether Converter<Value> makes a Value straight from a decoded text (a fromText function).
template <class Value, class = void>
struct HasTextConversion : std::false_type {};
template <class Value>
struct HasTextConversion<Value, std::void_t<decltype(Converter<Value>::fromText(std::string()))>>
    : std::true_type {};

// The arguments converted in order (a braced list evaluates left to right, so the first bad
// argument is the one reported).
template <class... A, std::size_t... I>
std::tuple<std::decay_t<A>...> convertArguments(const Arguments& arguments,
                                                std::index_sequence<I...>) {
    return std::tuple<std::decay_t<A>...>{arguments.template get<A>(I)...};
}

// Calls `call` and converts what it returns ([] for void).
template <class Result, class Call>
qaArray convertResult(Call&& call) {
    if constexpr (std::is_void_v<Result>) {
        call();
        return qaArray();
    } else {
        return Converter<std::decay_t<Result>>::toScript(call());
    }
}

}  // namespace impl

// Publishes the members of the library class T into one class record: constructors that call T's
// constructors, methods and properties bound to T's member functions (or to those of a base of
// T), every value converted by Converter<...>. Registers T as the C++ type of the class.
template <class T>
class TypedClassBuilder {
public:
    explicit TypedClassBuilder(ClassBuilder& builder) : builder_(builder) {
        builder_.addNativeType(typeid(T));
    }

    void addSuperclass(const std::string& className) { builder_.addSuperclass(className); }

    // A constructor taking `argumentTypes`, converted to A... and passed to T(A...).
    template <class... A>
    void addConstructor(std::vector<std::string> argumentTypes) {
        requireArity(argumentTypes, sizeof...(A), "constructor");
        addConstructor(std::move(argumentTypes), [](const Arguments& arguments) -> T* {
            auto values = impl::convertArguments<A...>(arguments, std::index_sequence_for<A...>{});
            return std::apply([](auto&&... a) { return new T(std::forward<decltype(a)>(a)...); },
                              std::move(values));
        });
    }

    // A constructor taking `argumentTypes` that makes its object with `create` (a new object,
    // owned by the caller).
    void addConstructor(std::vector<std::string> argumentTypes,
                        std::function<T*(const Arguments&)> create) {
        Signature signature{{builder_.className()}, std::move(argumentTypes)};
        builder_.addConstructor(std::make_unique<impl::KobjConstructor>(
            std::move(signature),
            [create = std::move(create)](const Arguments& arguments) -> tv::mi::Handle* {
                return create(arguments);
            }));
    }

    // A method bound to a member function; `results` and `argumentTypes` (after the object) form
    // its signature. Arguments and result convert by their C++ types.
    template <class Base, class Result, class... A>
    void addMethod(std::string name, std::vector<std::string> results,
                   std::vector<std::string> argumentTypes, Result (Base::*member)(A...)) {
        bindMethod<Base, Result, A...>(std::move(name), std::move(results),
                                       std::move(argumentTypes), member);
    }
    template <class Base, class Result, class... A>
    void addMethod(std::string name, std::vector<std::string> results,
                   std::vector<std::string> argumentTypes, Result (Base::*member)(A...) const) {
        bindMethod<Base, Result, A...>(std::move(name), std::move(results),
                                       std::move(argumentTypes), member);
    }

    // A method whose invoker is written by hand, for results whose ownership must be decided
    // (see ObjectValues.hpp) or arguments that need more than a conversion.
    void addCustomMethod(std::string name, std::vector<std::string> results,
                         std::vector<std::string> argumentTypes,
                         std::function<qaArray(T&, const Arguments&)> invoke) {
        argumentTypes.insert(argumentTypes.begin(), builder_.className());
        Signature signature{std::move(results), std::move(argumentTypes)};
        builder_.addMethod(std::make_unique<KobjMethod>(
            std::move(name), std::move(signature), MethodAttributes{},
            [invoke = std::move(invoke)](tv::mi::Handle& object, const Arguments& arguments) {
                return invoke(self(object), arguments);
            }));
    }

    // A property read through `getter` (a member function without arguments, const or not) and
    // written through `setter` (a member function of one argument).
    template <class Getter, class Setter>
    void addProperty(std::string name, std::string typeText, std::uint32_t attributes,
                     Getter getter, Setter setter) {
        using Value = typename impl::SetterArgument<Setter>::type;
        impl::PropertyImpl::Setter set = [setter, typeText](tv::mi::Handle& object,
                                                            qaArray&& value) {
            std::invoke(setter, self(object),
                        Converter<Value>::fromScript(std::move(value), typeText));
        };
        bindProperty(std::move(name), std::move(typeText), attributes, getter, std::move(set),
                     directSetters<Value>(setter));
    }

    // A property without a setter.
    template <class Getter>
    void addReadOnlyProperty(std::string name, std::string typeText, std::uint32_t attributes,
                             Getter getter) {
        bindProperty(std::move(name), std::move(typeText), attributes, getter,
                     impl::PropertyImpl::Setter());
    }

private:
    // `object` as a T; throws kobj::Error when it is not one (a member bound to the wrong class).
    static T& self(tv::mi::Handle& object) {
        T* typed = tv::mi::handleCast<T>(&object);
        if (typed == nullptr) {
            throw Error("kobj:errorMustBeObject",
                        std::string("A member of another class was applied to an object of ") +
                            object.getFullyQualifiedKobjTypeName() + ".");
        }
        return *typed;
    }

    static void requireArity(const std::vector<std::string>& types, std::size_t arity,
                             const std::string& what) {
        if (types.size() != arity) {
            throw std::logic_error("a " + what + " is published with " +
                                   std::to_string(types.size()) + " argument types for " +
                                   std::to_string(arity) + " parameters");
        }
    }

    template <class Base, class Result, class... A, class Member>
    void bindMethod(std::string name, std::vector<std::string> results,
                    std::vector<std::string> argumentTypes, Member member) {
        static_assert(std::is_base_of_v<Base, T>, "the member must belong to T or a base of T");
        requireArity(argumentTypes, sizeof...(A), "method " + name);
        addCustomMethod(std::move(name), std::move(results), std::move(argumentTypes),
                        [member](T& object, const Arguments& arguments) {
                            auto values = impl::convertArguments<A...>(
                                arguments, std::index_sequence_for<A...>{});
                            return impl::convertResult<Result>([&]() -> Result {
                                return std::apply(
                                    [&](auto&&... a) -> Result {
                                        return (object.*member)(std::forward<decltype(a)>(a)...);
                                    },
                                    std::move(values));
                            });
                        });
    }

    // The setter bound for decoded values when it takes them as they are, or, for a type whose
    // Converter has fromText, for decoded texts.
    template <class Value, class Setter>
    static impl::PropertyImpl::DirectSetters directSetters(Setter setter) {
        impl::PropertyImpl::DirectSetters direct;
        if constexpr (std::is_same_v<Value, std::string>) {
            direct.text = [setter](tv::mi::Handle& object, std::string&& text) {
                std::invoke(setter, self(object), std::move(text));
            };
        } else if constexpr (std::is_same_v<Value, std::vector<std::string>>) {
            direct.texts = [setter](tv::mi::Handle& object, std::vector<std::string>&& texts) {
                std::invoke(setter, self(object), std::move(texts));
            };
        } else if constexpr (std::is_same_v<Value, bool>) {
            direct.logical = [setter](tv::mi::Handle& object, bool value) {
                std::invoke(setter, self(object), value);
            };
        } else if constexpr (std::is_same_v<Value, std::int32_t> || std::is_same_v<Value, std::uint32_t>) {
            direct.integer = [setter](tv::mi::Handle& object, std::int64_t value) {
                if (value < std::numeric_limits<Value>::min() || value > std::numeric_limits<Value>::max()) {
                    return false;
                }
                std::invoke(setter, self(object), static_cast<Value>(value));
                return true;
            };
        } else if constexpr (impl::HasTextConversion<Value>::value) {
            direct.text = [setter](tv::mi::Handle& object, std::string&& text) {
                std::invoke(setter, self(object), Converter<Value>::fromText(text));
            };
        }
        return direct;
    }

    template <class Getter>
    void bindProperty(std::string name, std::string typeText, std::uint32_t attributes,
                      Getter getter, impl::PropertyImpl::Setter set,
                      impl::PropertyImpl::DirectSetters direct = {}) {
        using Value = std::decay_t<std::invoke_result_t<Getter, T&>>;
        impl::PropertyImpl::Getter get = [getter](tv::mi::Handle& object) {
            return Converter<Value>::toScript(std::invoke(getter, self(object)));
        };
        impl::PropertyImpl::Encoder encode;
        if constexpr (kIsEncodedValueType<Value>) {
            encode = [getter](tv::mi::Handle& object, std::string& out) {
                appendEncodedValue(out, std::invoke(getter, self(object)));
            };
        }
        builder_.addProperty(std::make_unique<impl::PropertyImpl>(
            std::move(name), std::move(typeText), attributes, std::move(get), std::move(set),
            std::move(encode), std::move(direct)));
    }

    ClassBuilder& builder_;
};

}  // namespace kobj::factory
