#include "tv/TvFeature.hpp"

#include <cstdlib>
#include <map>
#include <optional>

namespace {

struct FeatureState {
    int value = 0;
    std::uint64_t uses = 0;
    bool defined = false;
    bool setByCode = false;
};

// Filled by definitions at static initialisation and by setValue(); kept until the process ends.
std::map<std::string, FeatureState>& featureTable() {
    static std::map<std::string, FeatureState> table;
    return table;
}

std::optional<int> environmentOverride(const std::string& name) {
    const char* text = std::getenv(TvFeature::environmentVariable(name).c_str());
    if (text == nullptr || *text == '\0') return std::nullopt;
    char* end = nullptr;
    long number = std::strtol(text, &end, 10);
    if (*end != '\0') return std::nullopt;
    return static_cast<int>(number);
}

}  // namespace

TvFeature::TvFeature(const char* name, const char*, const char*, int defaultValue, int,
                     const char*)
    : name_(name) {
    FeatureState& state = featureTable()[name_];
    if (state.defined) return;
    state.defined = true;
    if (!state.setByCode) state.value = environmentOverride(name_).value_or(defaultValue);
}

int TvFeature::value() const { return valueOf(name_); }

int TvFeature::valueOf(const std::string& name) {
    auto found = featureTable().find(name);
    if (found == featureTable().end()) return 0;
    ++found->second.uses;
    return found->second.value;
}

void TvFeature::setValue(const std::string& name, int value) {
    FeatureState& state = featureTable()[name];
    state.value = value;
    state.setByCode = true;
}

std::uint64_t TvFeature::useCount(const std::string& name) {
    auto found = featureTable().find(name);
    return found == featureTable().end() ? 0 : found->second.uses;
}

std::string TvFeature::environmentVariable(const std::string& name) { return "TV_FEATURE_" + name; }
