// Runs that are killed at fifty random moments.
#include "tests/endtoend/killedrun.h"

#include <algorithm>
#include <iterator>
#include <random>

namespace keyreap::endtoend {

namespace {

// The moments are shares of the time that the run takes. The shares are random, but the same every time that
// the tests run.
class KilledAtAnyMoment : public KilledRun, public testing::WithParamInterface<unsigned> {
protected:
    Way WayOfRun() const { return ways[GetParam() % std::size(ways)]; }
    std::wstring SampleOfRun() const { return GetParam() % 4 == 0 ? L"somevalues.dll" : L"stopping.dll"; }
    DWORD MillisecondsOfRun() const {
        const ULONGLONG begin = GetTickCount64();
        EXPECT_EQ(CaptureOf(WayOfRun(), SampleOfRun(), L"undisturbed.reg"), 0U);
        return static_cast<DWORD>(GetTickCount64() - begin);
    }
    DWORD Moment() const {
        constexpr unsigned parts = 1000;
        std::mt19937 random(GetParam());
        return MillisecondsOfRun() * (random() % parts) / parts;
    }
};

TEST_P(KilledAtAnyMoment, LeavesNothingThatAppearsInTheNextResult) {
    const DWORD moment = Moment();
    const Bytes undisturbed = ReadBytes(Work(L"undisturbed.reg")).value_or(Bytes());
    ForgetEverything();
    {
        RunningProgram program(Line(WayOfRun(), SampleOfRun(), L"killed.reg"));
        Sleep(moment);
        program.Kill();
    }
    stops.Reset();
    if (WayOfRun().IsRedirected()) {
        EXPECT_EQ(LiveEntries(), RegistryTree());
    }
    const Bytes written = ReadBytes(Work(L"killed.reg")).value_or(Bytes());
    ASSERT_LE(written.size(), undisturbed.size());
    EXPECT_TRUE(std::equal(written.begin(), written.end(), undisturbed.begin()));
    ExpectNextRunToSucceed(WayOfRun());
    EXPECT_EQ(CaptureOf(WayOfRun(), SampleOfRun(), L"again.reg"), 0U);
    EXPECT_TRUE(Holds(Work(L"again.reg"), undisturbed));
}

INSTANTIATE_TEST_SUITE_P(Fifty, KilledAtAnyMoment, testing::Range(0U, 50U));

} // namespace

} // namespace keyreap::endtoend
