#pragma once

#include <cstdint>
#include <string>

// Process-wide feature switches: named integers that programs read to choose between behaviours.
//
// A switch is defined once by constructing a TvFeature (usually a static object in the code that
// reads it). Its value starts at the default given there, unless the environment variable
// TV_FEATURE_<name> holds an integer, which then replaces the default. setValue() changes it from
// code at any time. Every read through value() or valueOf() counts one use.
class TvFeature {
public:
    // Defines the switch `name`. A second definition of one name refers to the same switch and
    // leaves its value as it is. `group`, `description`, `tag` and `sourceFile` are bookkeeping.
    TvFeature(const char* name, const char* group, const char* description, int defaultValue,
              int tag, const char* sourceFile);

    // The current value; counts one use.
    int value() const;
    const std::string& name() const { return name_; }

    // The value of a defined switch; counts one use. Returns 0 for a name never defined or set.
    static int valueOf(const std::string& name);
    // Sets the value of `name`, defining the switch if needed; a later definition keeps it.
    static void setValue(const std::string& name, int value);
    // How many times the switch was read.
    static std::uint64_t useCount(const std::string& name);
    // The name of the environment variable that overrides the default of `name`.
    static std::string environmentVariable(const std::string& name);

private:
    std::string name_;
};
