// A server that writes 200,000 values: its result contains all of them, and none stays in the registry.
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/ways.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

namespace {

constexpr wchar_t targetsKey[] = L"Software\\KeyreapMany";

class ServerOfManyValues : public Workbench, public testing::WithParamInterface<Way> {
protected:
    ~ServerOfManyValues() override { DeleteTree(HKEY_CURRENT_USER, targetsKey); }
};

TEST_P(ServerOfManyValues, HasAllOfThemCapturedAndRemoved) {
    RunningProgram program(LineOf(GetParam(), Sample(GetParam().build, L"manyvalues.dll"), Work(L"out.reg")));
    // This run takes longer than any other, and longer than the watchdog of one wait allows.
    for (int watchdogs = 0; watchdogs < 5 && program.IsRunning(); ++watchdogs) {
        Eventually([&] { return !program.IsRunning(); });
    }
    EXPECT_EQ(program.Wait(), 0U);
    EXPECT_TRUE(Holds(Work(L"out.reg"), DocumentOfValues(GetParam(), manyValues)));
    EXPECT_FALSE(KeyExists(HKEY_CURRENT_USER, targetsKey));
    EXPECT_EQ(TemporaryFiles(), nothing);
}

INSTANTIATE_TEST_SUITE_P(InThreeWays, ServerOfManyValues, testing::Values(ways[0], ways[4], ways[2]),
                         NameOfWay);

} // namespace

} // namespace keyreap::endtoend
