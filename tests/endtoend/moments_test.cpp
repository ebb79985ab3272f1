// A run that is killed at fifty moments that nobody chose.
#include "tests/endtoend/killedrun.h"

#include <algorithm>
#include <iterator>
#include <random>

namespace keyreap::endtoend {

namespace {

// Moments that nobody chose, each the same in every run of the tests as a share of the time that the run
// takes.
class KilledAtAnyMoment : public KilledRun, public testing::WithParamInterface<unsigned> {
protected:
    Way TheWay() const { return ways[GetParam() % std::size(ways)]; }
    std::wstring TheSample() const { return GetParam() % 4 == 0 ? L"somevalues.dll" : L"stopping.dll"; }
    DWORD MillisecondsOfRun() const {
        const ULONGLONG begin = GetTickCount64();
        EXPECT_EQ(CaptureOf(TheWay(), TheSample(), L"undisturbed.reg"), 0U);
        return static_cast<DWORD>(GetTickCount64() - begin);
    }
    DWORD Moment() const {
        constexpr unsigned parts = 1000;
        std::mt19937 random(GetParam());
        return MillisecondsOfRun() * (random() % parts) / parts;
    }
};

TEST_P(KilledAtAnyMoment, LeavesNothingThatShowsInTheNextResult) {
    const DWORD moment = Moment();
    const Bytes undisturbed = ReadBytes(Work(L"undisturbed.reg")).value_or(Bytes());
    ForgetEverything();
    {
        RunningProgram program(Line(TheWay(), TheSample(), L"killed.reg"));
        Sleep(moment);
        program.Kill();
    }
    stops.Reset();
    if (TheWay().IsRedirected()) {
        EXPECT_EQ(LiveEntries(), RegistryTree());
    }
    const Bytes written = ReadBytes(Work(L"killed.reg")).value_or(Bytes());
    ASSERT_LE(written.size(), undisturbed.size());
    EXPECT_TRUE(std::equal(written.begin(), written.end(), undisturbed.begin()));
    ExpectAGoodNextRun(TheWay());
    EXPECT_EQ(CaptureOf(TheWay(), TheSample(), L"again.reg"), 0U);
    EXPECT_TRUE(Holds(Work(L"again.reg"), undisturbed));
}

INSTANTIATE_TEST_SUITE_P(Fifty, KilledAtAnyMoment, testing::Range(0U, 50U));

} // namespace

} // namespace keyreap::endtoend
