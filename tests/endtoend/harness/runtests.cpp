#include "tests/endtoend/harness/runtests.h"

#include "tests/endtoend/harness/settings.h"

#include <gtest/gtest.h>

#include <cstdio>
#include <cstdlib>

namespace keyreap::endtoend {

int RunAllTests(int count, char** arguments) {
    testing::InitGoogleTest(&count, arguments);
    const std::string missing = ReadSettings();
    if (!missing.empty() && !testing::GTEST_FLAG(list_tests)) {
        std::fputs(missing.c_str(), stderr);
        return 1;
    }
    return RUN_ALL_TESTS();
}

int RunSampleOfTests(int count, char** arguments) {
    ReadSettings();
    const std::uint32_t step = TestSettings().sampleStep;
    if (step > 1) {
        // GoogleTest distributes tests to several machines in this way; this is the first machine's share.
        _putenv_s("GTEST_TOTAL_SHARDS", std::to_string(step).c_str());
        _putenv_s("GTEST_SHARD_INDEX", "0");
    }
    return RunAllTests(count, arguments);
}

} // namespace keyreap::endtoend
