#include "Workload.hpp"

#include <cstdio>
#include <numeric>

namespace bench {

namespace {

std::string numbered(const char* prefix, std::uint64_t value) {
    char text[48];
    std::snprintf(text, sizeof text, "%s%07llu", prefix, static_cast<unsigned long long>(value));
    return text;
}

}  // namespace

std::string utilityName(std::uint64_t i) { return numbered("rt_util_", i); }

std::string modelName(std::uint64_t i, int which) {
    return numbered(which == 0 ? "model_a_" : "model_b_", (i * (which + 3)) % 1000);
}

std::string childName(std::uint64_t i, int which) {
    return numbered(which == 0 ? "rt_child_a_" : "rt_child_b_", i % (100 + which));
}

std::string traceabilityEntry(std::uint64_t i, int which) {
    return modelName(i, which) + ":" + utilityName(i) + ".c:" + std::to_string(100 + which);
}

// Multiplying by a constant coprime to n permutes 0..n-1.
std::uint64_t scattered(std::uint64_t k, std::uint64_t n) {
    std::uint64_t stride = 2654435761u % n;
    while (stride == 0 || std::gcd(stride, n) != 1) ++stride;
    return static_cast<std::uint64_t>((static_cast<unsigned __int128>(k % n) * stride) % n);
}

std::uint64_t listedEntries(std::uint64_t storedEntries) {
    return storedEntries / 100 > 0 ? storedEntries / 100 : 1;
}

}  // namespace bench
