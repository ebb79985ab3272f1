#include "tests/endtoend/damagedimages.h"

#include "tests/endtoend/harness/settings.h"
#include "tests/support/linkedimage.h"
#include "tests/support/mutation.h"

#include <optional>

namespace keyreap::endtoend {

namespace {

constexpr std::uint32_t imagesOfWholeRun = 250;

testsupport::BuiltImage Server(Bitness bitness) {
    const Bytes bytes = ReadBytes(Sample(bitness, L"plain.dll")).value_or(Bytes());
    return testsupport::LinkedImage(std::string(bytes.begin(), bytes.end()));
}

// How a program ends: its status, or none if it seems never to end.
std::optional<DWORD> StatusOf(const std::wstring& commandLine) {
    constexpr DWORD patience = 60'000;
    return RunningProgram(commandLine).WaitFor(patience);
}

// Where an image comes to lie is the process's affair: the place that it asks for may be free in one and
// taken in another, and the loader may fault over an image that it moves and not over the same one where it
// stays.
bool EndsAnotherHostSo(std::optional<DWORD> status, Bitness bitness, const std::wstring& file) {
    const std::wstring line = Quoted(Sample(bitness, L"registerhost.exe")) + L" " + Quoted(file);
    return StatusOf(line) == status || StatusOf(line + L" moved") == status;
}

} // namespace

void DamagedImages::CaptureOne(Bitness bitness, const std::wstring& file) {
    const std::optional<DWORD> status = StatusOf(CaptureLine(bitness, file, Work(L"out.reg")));
    if (status == 0) {
        ++succeeded;
    } else if (status == statusFailed) {
        ++failed;
    } else {
        EXPECT_TRUE(EndsAnotherHostSo(status, bitness, file))
            << testing::PrintToString(file) << " ends the run with " << testing::PrintToString(status);
    }
}

void DamagedImages::CaptureThem(Bitness bitness) {
    const testsupport::BuiltImage image = Server(bitness);
    const std::uint32_t step = TestSettings().sampleStep;
    for (std::uint32_t seed = 0; seed < imagesOfWholeRun; seed += step) {
        const std::wstring file = Work(L"damaged" + std::to_wstring(seed) + L".dll");
        ASSERT_TRUE(WriteText(file, testsupport::Mutated(image, seed)));
        CaptureOne(bitness, file);
    }
    // The damage is light enough to leave work for every step, and heavy enough to be one.
    EXPECT_GT(succeeded, imagesOfWholeRun / step / 10);
    EXPECT_GT(failed, imagesOfWholeRun / step / 10);
}

} // namespace keyreap::endtoend
