// Servers that are loaded and register themselves, captured in the default mode where a trace can be started:
// they write to the temporary tree, and the trace of these writes gives the result.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/tracedsession.h"

#include <algorithm>
#include <cstring>

namespace keyreap::endtoend {

namespace {

using TracedByDefault = TracedSession;

// The keys of a file with their values, sorted. The default mode collects the keys in the order of the places
// that they were redirected to, which is not fixed.
std::vector<std::wstring> SortedKeys(const std::wstring& text) {
    std::vector<std::wstring> keys;
    const std::wstring begin = L"\r\n[HKEY_";
    for (std::size_t at = 0; at != std::wstring::npos;) {
        const std::size_t next = text.find(begin, at + 1);
        keys.push_back(text.substr(at, next - at));
        at = next;
    }
    std::sort(keys.begin(), keys.end());
    return keys;
}

TEST_P(TracedByDefault, GivesTheKeysOfATraceAndIsNeverInTheRegistry) {
    for (const char* sample : {"plain", "peruser", "texts", "names", "keys", "everytype", "pausing"}) {
        const std::wstring file = std::wstring(sample, sample + std::strlen(sample)) + L".dll";
        SharedEvent goOn(L"KeyreapPausing.GoOn");
        goOn.Set();
        ASSERT_TRUE(WriteBytes(Work(L"expected.reg"), Golden(std::string(sample) + "-traced.reg")));
        const SavedRegistry before;
        EXPECT_EQ(Trace(file, L""), 0U) << sample;
        EXPECT_TRUE(SortedKeys(ReadUnits(Work(L"out.reg"))) == SortedKeys(ReadUnits(Work(L"expected.reg"))))
            << sample;
        EXPECT_TRUE(before.Changed(nothing)) << sample;
    }
}

INSTANTIATE_TEST_SUITE_P(ByRoute, TracedByDefault, testing::ValuesIn(nativeRoutes), NameOfRoute);

} // namespace

} // namespace keyreap::endtoend
