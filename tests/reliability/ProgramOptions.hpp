#pragma once

// Command-line options of the reliability programs: "--name value" pairs.

#include <cstdlib>
#include <cstring>
#include <string>

namespace reliability {

// The value after `name` on the command line, or `fallback` when it is absent.
inline std::string optionText(int argc, char** argv, const char* name, const std::string& fallback) {
    for (int i = 1; i + 1 < argc; ++i) {
        if (std::strcmp(argv[i], name) == 0) return argv[i + 1];
    }
    return fallback;
}

inline unsigned long optionNumber(int argc, char** argv, const char* name, unsigned long fallback) {
    const std::string text = optionText(argc, argv, name, "");
    return text.empty() ? fallback : std::strtoul(text.c_str(), nullptr, 10);
}

}  // namespace reliability
