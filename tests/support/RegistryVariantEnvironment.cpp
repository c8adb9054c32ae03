// Linked into every registry test program: in the PostgreSQL variant without an installed server,
// the whole program is skipped (CTest's skip code) with one message before any test runs.

#include <gtest/gtest.h>

#include <cstdlib>
#include <iostream>

#include "support/RegistryDriver.hpp"

namespace {

struct RegistryVariantEnvironment : ::testing::Environment {
    void SetUp() override {
        if (std::optional<std::string> reason = scm_test::postgresUnavailableReason()) {
            std::cout << *reason << std::endl;
            std::exit(scm_test::kSkippedExitCode);
        }
    }
};

const auto* const registered = ::testing::AddGlobalTestEnvironment(new RegistryVariantEnvironment);

}  // namespace
