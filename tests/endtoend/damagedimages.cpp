#include "tests/endtoend/damagedimages.h"

#include <optional>

#include "tests/endtoend/harness/settings.h"
#include "tests/support/linkedimage.h"
#include "tests/support/mutation.h"

namespace keyreap::endtoend {

namespace {

constexpr std::uint32_t imagesOfWholeRun = 250;

testsupport::BuiltImage Server(Bitness bitness) {
    const Bytes bytes = ReadBytes(Sample(bitness, L"plain.dll")).value_or(Bytes());
    return testsupport::LinkedImage(std::string(bytes.begin(), bytes.end()));
}

// What becomes of a host that does no more than load the file and call its registration; none if it seems
// never to end.
std::optional<DWORD> StatusOfAnyHost(Bitness bitness, const std::wstring& file) {
    constexpr int patience = 400;
    constexpr DWORD pause = 50;
    RunningProgram host(Quoted(Sample(bitness, L"registerhost.exe")) + L" " + Quoted(file));
    for (int i = 0; i < patience && host.IsRunning(); ++i) {
        Sleep(pause);
    }
    if (host.IsRunning()) {
        host.Kill();
        return std::nullopt;
    }
    return host.Wait();
}

} // namespace

void DamagedImages::CaptureOne(Bitness bitness, const std::wstring& file, Outcomes& outcomes) {
    const std::optional<DWORD> statusOfAnyHost = StatusOfAnyHost(bitness, file);
    if (!statusOfAnyHost) {
        return;
    }
    const DWORD status = Capture(bitness, file, Work(L"out.reg"));
    ++outcomes.tried;
    outcomes.succeeded += status == 0 ? 1 : 0;
    outcomes.failed += status == statusFailed ? 1 : 0;
    if (status != 0 && status != statusFailed) {
        EXPECT_EQ(status, *statusOfAnyHost) << testing::PrintToString(file);
    }
}

void DamagedImages::CaptureThem(Bitness bitness) {
    const testsupport::BuiltImage image = Server(bitness);
    const std::uint32_t images = imagesOfWholeRun / TestSettings().sampleStep;
    Outcomes outcomes;
    for (std::uint32_t seed = 0; outcomes.tried < images; seed += TestSettings().sampleStep) {
        const std::wstring file = Work(L"damaged" + std::to_wstring(seed) + L".dll");
        ASSERT_TRUE(WriteText(file, testsupport::Mutated(image, seed)));
        CaptureOne(bitness, file, outcomes);
    }
    // The damage is light enough to leave work for every step, and heavy enough to be one.
    EXPECT_GT(outcomes.succeeded, images / 10);
    EXPECT_GT(outcomes.failed, images / 10);
}

} // namespace keyreap::endtoend
