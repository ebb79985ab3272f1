#include "platform/os/heldexception.h"

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

TEST(HeldException, StepsRunAndNothingIsThrownOnWhileTheySucceed) {
    HeldException failure;
    int steps = 0;
    failure.Run([&] { ++steps; });
    failure.Run([&] { ++steps; });
    EXPECT_EQ(steps, 2);
    EXPECT_FALSE(failure.IsHolding());
    EXPECT_NO_THROW(failure.ThrowOn());
}

TEST(HeldException, AfterAnExceptionStepsNoLongerRun) {
    HeldException failure;
    failure.Run([] { throw 1; });
    EXPECT_TRUE(failure.IsHolding());
    bool hasRun = false;
    failure.Run([&] { hasRun = true; });
    EXPECT_FALSE(hasRun);
}

TEST(HeldException, TheSameExceptionIsThrownOnOnce) {
    HeldException failure;
    const std::string* thrown = nullptr;
    failure.Run([] { throw std::string("the first"); });
    failure.Run([] { throw std::string("the second"); });
    try {
        failure.ThrowOn();
    } catch (const std::string& text) {
        EXPECT_EQ(text, "the first");
        thrown = &text;
    }
    EXPECT_NE(thrown, nullptr);
    EXPECT_FALSE(failure.IsHolding());
    EXPECT_NO_THROW(failure.ThrowOn());
}

} // namespace
} // namespace keyreap
