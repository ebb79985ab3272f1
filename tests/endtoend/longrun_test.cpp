// Two hundred pairs in one command line: from the tenth on, a run holds what it held then.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/ways.h"
#include "tests/endtoend/harness/workbench.h"

#include <sstream>

namespace keyreap::endtoend {

namespace {

constexpr std::size_t pairs = 200;
constexpr std::size_t firstThatCounts = 10;

// What the sample `gauge` found in its process at one registration.
struct Gauge {
    int handles = 0;
    int kilobytes = 0;
    int temporaryFiles = 0;
};

class LongRun : public Workbench, public testing::WithParamInterface<Way> {
protected:
    LongRun() { SetEnvironmentVariableW(L"KEYREAP_GAUGE", Work(L"gauges.txt").c_str()); }
    ~LongRun() override { SetEnvironmentVariableW(L"KEYREAP_GAUGE", nullptr); }

    static std::wstring NameOfResult(std::size_t number) { return std::to_wstring(number) + L".reg"; }
    // Short names, since 200 pairs of long ones don't fit into a command line.
    std::wstring Line() const {
        std::wstring line = Quoted(Keyreap(GetParam().build)) + L" extreg";
        for (std::size_t i = 0; i < pairs; ++i) {
            line += L" " + Pair(L"gauge.dll", NameOfResult(i));
        }
        return line + L" " + GetParam().mode;
    }
    std::vector<Gauge> Gauges() const {
        const Bytes bytes = ReadBytes(Work(L"gauges.txt")).value_or(Bytes());
        std::istringstream lines(std::string(bytes.begin(), bytes.end()));
        std::vector<Gauge> gauges;
        for (Gauge gauge; lines >> gauge.handles >> gauge.kilobytes >> gauge.temporaryFiles;) {
            gauges.push_back(gauge);
        }
        return gauges;
    }
};

TEST_P(LongRun, HoldsNoMoreHandlesMemoryAndFilesThanAtItsTenthPair) {
    // What an allocator may put aside. It is less than a kilobyte for each pair.
    constexpr int kilobytesInHand = 128;
    ASSERT_TRUE(Copy(Sample(GetParam().build, L"gauge.dll"), Work(L"gauge.dll")));
    EXPECT_EQ(RunLine(Line(), Work(L"")), 0U);
    const std::vector<Gauge> gauges = Gauges();
    ASSERT_EQ(gauges.size(), pairs);
    const Gauge& tenth = gauges[firstThatCounts - 1];
    for (std::size_t i = firstThatCounts; i < pairs; ++i) {
        EXPECT_EQ(gauges[i].handles, tenth.handles) << i;
        EXPECT_LE(gauges[i].kilobytes, tenth.kilobytes + kilobytesInHand) << i;
        EXPECT_EQ(gauges[i].temporaryFiles, tenth.temporaryFiles) << i;
        EXPECT_TRUE(Holds(Work(NameOfResult(i)), DocumentOfPlain(GetParam()))) << i;
    }
    EXPECT_EQ(tenth.temporaryFiles, GetParam().IsTraced() ? 1 : 0);
    EXPECT_EQ(TemporaryFiles(), std::vector<std::wstring>());
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
}

// The first of these is the one in a sample of the tests.
INSTANTIATE_TEST_SUITE_P(InEveryMode, LongRun,
                         testing::Values(ways[1], ways[0], ways[2], ways[3], ways[4], ways[5]),
                         [](const auto& test) { return NameOfWay(test.param); });

} // namespace

} // namespace keyreap::endtoend
