#pragma once

#include "SCMRegistry.hpp"
#include "SCMTypes.hpp"
#include "kobj/Conversions.hpp"

// Script conversions of the library's own value types.
namespace kobj {

// Categories travel as their names: out through the conversion of the published "Type"
// property ("" for a value outside 0 to 6), in through the lenient name lookup (an unknown name
// means SCM_UTILITIES and is remembered).
template <>
struct Converter<SCM::SCMTypes> {
    static SCM::SCMTypes fromScript(const qaArray& value, const std::string&) {
        return fromText(textFrom(value));
    }
    static SCM::SCMTypes fromText(const std::string& name) { return SCM::scmTypeFromString(name); }
    static qaArray toScript(SCM::SCMTypes type) {
        return qaArray::fromText(SCM::scmTypeToPropertyText(type));
    }
};

// Registration outcomes travel as their names ("IS_REGISTERED", ...).
template <>
struct Converter<SCM::SCMRegistry> {
    static qaArray toScript(SCM::SCMRegistry outcome) {
        return qaArray::fromText(SCM::scmRegistryToString(outcome));
    }
};

}  // namespace kobj
