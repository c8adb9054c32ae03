#pragma once

#include <gtest/gtest.h>

#include "kobj/Error.hpp"

namespace kobjtest {

// The kobj::Error that `call` throws; fails the test when it throws none.
template <class Call>
kobj::Error errorOf(Call call) {
    try {
        call();
    } catch (const kobj::Error& error) {
        return error;
    }
    ADD_FAILURE() << "no kobj::Error thrown";
    return kobj::Error("none", "no error");
}

}  // namespace kobjtest
