// A thousand pairs in one command line: after the tenth, the run's resources don't grow.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/ways.h"
#include "tests/endtoend/harness/workbench.h"

#include <sstream>

namespace keyreap::endtoend {

namespace {

constexpr std::size_t pairs = 1000;
constexpr std::size_t warmUpPairs = 10;

// What the sample `gauge` measured in its process at one registration.
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
    // Relative names, since 1000 pairs of full paths don't fit into a command line.
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
    // The allocator may keep some memory for each of the first threads. This is half a kilobyte a pair.
    constexpr int toleratedKilobytes = 512;
    ASSERT_TRUE(Copy(Sample(GetParam().build, L"gauge.dll"), Work(L"gauge.dll")));
    EXPECT_EQ(RunLine(Line(), Work(L"")), 0U);
    const std::vector<Gauge> gauges = Gauges();
    ASSERT_EQ(gauges.size(), pairs);
    const Gauge& tenth = gauges[warmUpPairs - 1];
    for (std::size_t i = warmUpPairs; i < pairs; ++i) {
        EXPECT_EQ(gauges[i].handles, tenth.handles) << i;
        EXPECT_LE(gauges[i].kilobytes, tenth.kilobytes + toleratedKilobytes) << i;
        EXPECT_EQ(gauges[i].temporaryFiles, tenth.temporaryFiles) << i;
        EXPECT_TRUE(Holds(Work(NameOfResult(i)), DocumentOfPlain(GetParam()))) << i;
    }
    EXPECT_EQ(tenth.temporaryFiles, GetParam().IsTraced() ? 1 : 0);
    EXPECT_EQ(TemporaryFiles(), nothing);
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, temporaryKey));
}

// A sample of the tests takes only the first of these.
INSTANTIATE_TEST_SUITE_P(InEveryMode, LongRun,
                         testing::Values(ways[1], ways[0], ways[2], ways[3], ways[4], ways[5]), NameOfWay);

} // namespace

} // namespace keyreap::endtoend
