#pragma once

#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <string>
#include <vector>

namespace keyreap {

inline constexpr std::uint32_t firstProcess = 0x20;
inline constexpr std::uint32_t firstThread = 0x24;
inline constexpr std::uint32_t secondProcess = 0x30;
inline constexpr std::uint32_t secondThread = 0x34;

inline const std::wstring machineKey = L"\\REGISTRY\\Machine";
inline const std::wstring softwareKey = L"\\REGISTRY\\Machine\\Software";

// A running process with the handle 4 of HKLM\Software.
class RequestTrackerTest : public testing::Test {
protected:
    RequestTrackerTest() {
        story.Process(firstProcess, firstThread);
        OpenSoftware(firstThread);
        reported.clear();
    }

    void OpenSoftware(std::uint32_t thread) {
        story.Open(thread, R"(\Registry\Machine\Software)", 4, {.realPath = R"(REGISTRY\Machine\Software)"});
    }

    // The path of the key that this handle refers to, as setting a value through it shows; empty if none.
    std::wstring PathOf(std::uint32_t handle, std::uint32_t thread = firstThread) {
        reported.clear();
        story.SetValue(thread, handle, "probe");
        return story.LastPath();
    }

    RequestStory story;
    std::vector<KeyRequest>& reported = story.reported.requests;
};

} // namespace keyreap
