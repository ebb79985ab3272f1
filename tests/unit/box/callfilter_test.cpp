#include "tools/box/callfilter.h"

#include <gtest/gtest.h>

#include <array>
#include <cstring>

namespace keyreap {
namespace {

// Runs the few steps that a filter consists of, as the kernel's document "Linux Socket Filtering" defines
// them.
class Machine {
public:
    explicit Machine(std::vector<FilterStep> steps) : steps(std::move(steps)) {}

    // What the filter says of a call: 0x7FFF0000 allows it, 0x0005EEEE refuses it with the error EEEE.
    std::uint32_t Verdict(std::uint32_t number, std::uint32_t machine,
                          std::array<std::uint64_t, 6> arguments) const {
        std::array<std::uint32_t, 16> data = {number, machine};
        std::memcpy(&data[4], arguments.data(), sizeof(arguments));
        std::uint32_t value = 0;
        for (std::size_t at = 0; at < steps.size(); at++) {
            const FilterStep& step = steps[at];
            switch (step.code) {
            case 0x20:
                value = data.at(step.value / 4);
                break;
            case 0x15:
                at += value == step.value ? step.ifTrue : step.ifFalse;
                break;
            case 0x35:
                at += value >= step.value ? step.ifTrue : step.ifFalse;
                break;
            case 0x45:
                at += (value & step.value) != 0 ? step.ifTrue : step.ifFalse;
                break;
            case 0x06:
                return step.value;
            default:
                return 0;
            }
        }
        return 0;
    }

private:
    std::vector<FilterStep> steps;
};

constexpr std::uint32_t here = 0xC000003E; // x86-64
constexpr std::uint32_t i386 = 0x40000003;
constexpr std::uint32_t allowed = 0x7FFF0000;
constexpr std::uint32_t refused = 0x00050000;
constexpr std::uint32_t notPermitted = refused | 1;
constexpr std::uint32_t notThere = refused | 38;
constexpr std::uint32_t noFamily = refused | 97;

std::uint32_t Verdict(std::uint32_t number, std::uint64_t first = 0, std::uint64_t second = 0,
                      std::uint64_t third = 0) {
    return Machine(RefusedCalls()).Verdict(number, here, {first, second, third, 0, 0, 0});
}

TEST(CallFilterTest, UsualCallsAreAllowed) {
    for (const std::uint32_t number : {0U, 1U, 2U, 9U, 16U, 59U, 101U, 231U, 257U, 334U}) {
        EXPECT_EQ(Verdict(number), allowed) << number;
    }
}

TEST(CallFilterTest, OtherMachineModesAreRefused) {
    EXPECT_EQ(Machine(RefusedCalls()).Verdict(4, i386, {}), notThere);
    EXPECT_EQ(Machine(RefusedCalls()).Verdict(243, i386, {}), allowed); // a thread's segment
    EXPECT_EQ(Machine(RefusedCalls()).Verdict(41, 0xC00000B7, {1}), notThere);
    EXPECT_EQ(Verdict(243), allowed); // another call
    EXPECT_EQ(Verdict(0x40000000 | 1), notThere);
    EXPECT_EQ(Verdict(0xFFFFFFFF), notThere);
}

TEST(CallFilterTest, MemoryThatNoProcessShowsIsRefused) {
    EXPECT_EQ(Verdict(29), notThere);  // shmget
    EXPECT_EQ(Verdict(319), notThere); // memfd_create
    EXPECT_EQ(Verdict(447), notThere); // memfd_secret
}

TEST(CallFilterTest, TheKernelsKeysAndRingsAreRefused) {
    for (const std::uint32_t number : {248U, 249U, 250U, 425U, 426U, 427U}) {
        EXPECT_EQ(Verdict(number), notThere) << number;
    }
}

TEST(CallFilterTest, AModeThatMakesAFileRunAsItsOwnerIsRefused) {
    EXPECT_EQ(Verdict(90, 0, 0755), allowed); // chmod
    EXPECT_EQ(Verdict(90, 0, 04755), notPermitted);
    EXPECT_EQ(Verdict(90, 0, 02755), notPermitted);
    EXPECT_EQ(Verdict(91, 0, 04000), notPermitted);    // fchmod
    EXPECT_EQ(Verdict(268, 04000, 04000, 0), allowed); // fchmodat has it third
    EXPECT_EQ(Verdict(268, 0, 0, 06000), notPermitted);
    EXPECT_EQ(Verdict(452, 0, 0, 06000), notPermitted); // fchmodat2
}

TEST(CallFilterTest, AFileThatIsMadeHasNoSuchModeEither) {
    constexpr std::uint64_t create = 0100;
    EXPECT_EQ(Verdict(2, 0, create, 0644), allowed); // open
    EXPECT_EQ(Verdict(2, 0, create, 04755), notPermitted);
    EXPECT_EQ(Verdict(2, 0, 0, 04755), allowed);    // which has no mode then
    EXPECT_EQ(Verdict(85, 0, 06000), notPermitted); // creat
    EXPECT_EQ(Verdict(83, 0, 02755), notPermitted); // mkdir
    EXPECT_EQ(Verdict(437), notThere);              // openat2
    EXPECT_EQ(Machine(RefusedCalls()).Verdict(257, here, {0, 0, create, 04755, 0, 0}),
              notPermitted); // openat
    EXPECT_EQ(Machine(RefusedCalls()).Verdict(257, here, {0, 0, create, 0644, 0, 0}), allowed);
}

TEST(CallFilterTest, SharedMemoryWithoutAFileIsRefused) {
    constexpr std::uint64_t shared = 1, own = 2, anonymous = 0x20;
    const auto verdict = [](std::uint64_t flags) {
        return Machine(RefusedCalls()).Verdict(9, here, {0, 0, 0, flags, 0, 0});
    };
    EXPECT_EQ(verdict(shared), allowed);
    EXPECT_EQ(verdict(own | anonymous), allowed);
    EXPECT_EQ(verdict(shared | anonymous), notPermitted);
}

TEST(CallFilterTest, UserNamespacesAreRefusedAndOtherProcessesAreNot) {
    EXPECT_EQ(Verdict(56, 0x01200011), allowed); // clone as fork(2)
    EXPECT_EQ(Verdict(56, 0x10000011), notPermitted);
    EXPECT_EQ(Verdict(272, 0x00020000), allowed); // unshare
    EXPECT_EQ(Verdict(272, 0x10020000), notPermitted);
    EXPECT_EQ(Verdict(435), notThere); // clone3
}

TEST(CallFilterTest, SocketsOfOtherFamiliesAreRefused) {
    for (const std::uint64_t family : {1U, 2U, 10U, 16U}) {
        EXPECT_EQ(Verdict(41, family), allowed) << family;
    }
    for (const std::uint64_t family : {0U, 17U, 31U, 38U, 40U, 44U}) {
        EXPECT_EQ(Verdict(41, family), noFamily) << family;
    }
}

TEST(CallFilterTest, TheBytesAreTheSteps) {
    EXPECT_EQ(RefusedCallBytes().size(), RefusedCalls().size() * 8);
}

} // namespace
} // namespace keyreap
