#include <cstdio>

#include <gtest/gtest.h>

#include "tests/endtoend/harness/settings.h"

int main(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    const std::string missing = keyreap::endtoend::ReadSettings();
    if (!missing.empty() && !testing::GTEST_FLAG(list_tests)) {
        std::fputs(missing.c_str(), stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}
