#include "tests/endtoend/harness/runtests.h"

#include "tests/endtoend/harness/settings.h"
#include "tests/endtoend/harness/stricthost.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace keyreap::endtoend {

namespace {

void TakeSample() {
    const std::uint32_t step = TestSettings().sampleStep;
    if (step > 1) {
        // GoogleTest distributes tests to several machines in this way; this is the first machine's share.
        _putenv_s("GTEST_TOTAL_SHARDS", std::to_string(step).c_str());
        _putenv_s("GTEST_SHARD_INDEX", "0");
    }
}

int RunTests(int count, char** arguments, const std::string& missingSettings) {
    testing::InitGoogleTest(&count, arguments);
    if (!missingSettings.empty() && !testing::GTEST_FLAG(list_tests)) {
        std::fputs(missingSettings.c_str(), stderr);
        return 1;
    }
    const int status = RUN_ALL_TESTS();
    // A part of the tests need not have all changes.
    const bool all = testing::GTEST_FLAG(filter) == "*" && TestSettings().sampleStep == 1;
    const std::wstring missing = all ? MissingChanges() : std::wstring();
    if (!missing.empty()) {
        std::fputs("Listed in strict.txt, and in none of these tests:\n", stderr);
        std::fputws(missing.c_str(), stderr);
    }
    return missing.empty() ? status : 1;
}

} // namespace

int RunAllTests(int count, char** arguments) {
    const std::string missing = ReadSettings();
    if (HostIsStrict()) {
        TakeSample();
    }
    return RunTests(count, arguments, missing);
}

int RunSampleOfTests(int count, char** arguments) {
    const std::string missing = ReadSettings();
    TakeSample();
    return RunTests(count, arguments, missing);
}

} // namespace keyreap::endtoend
