// A program of tests that contains this fails each test that damages a heap of the process.
#include "tests/support/livememory.h"
#include "tests/support/releasedmemory.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>
#include <vector>

namespace keyreap::testsupport {
namespace {

std::vector<HANDLE> ProcessHeaps() {
    std::vector<HANDLE> heaps(GetProcessHeaps(0, nullptr));
    heaps.resize(GetProcessHeaps(static_cast<DWORD>(heaps.size()), heaps.data()));
    return heaps;
}

bool IsWhole(HANDLE heap) {
    return HeapValidate(heap, 0, nullptr) != FALSE;
}

bool AreHeapsWhole() {
    const std::vector<HANDLE> heaps = ProcessHeaps();
    return std::all_of(heaps.begin(), heaps.end(), IsWhole);
}

class HeapCheck : public testing::EmptyTestEventListener {
    void OnTestEnd(const testing::TestInfo&) override {
        if (TakeDamage() || !IsLiveMemoryWhole() || !AreHeapsWhole()) {
            ADD_FAILURE()
                << "Memory was damaged: written past, released twice, or written to after its release.";
        }
    }
};

[[maybe_unused]] const bool isListening = [] {
    testing::UnitTest::GetInstance()->listeners().Append(std::make_unique<HeapCheck>().release());
    return true;
}();

} // namespace
} // namespace keyreap::testsupport
