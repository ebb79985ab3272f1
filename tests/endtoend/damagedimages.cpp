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

// The exit status of a program; nothing if it doesn't end.
std::optional<DWORD> StatusOf(const std::wstring& commandLine) {
    constexpr DWORD patience = 60'000;
    return RunningProgram(commandLine).WaitFor(patience);
}

// An image's preferred address may be free in one process and taken in another, and the loader may fault only
// on an image that it has to move. So both cases are tried.
bool EndsAnotherHostLikeThis(std::optional<DWORD> status, Bitness bitness, const std::wstring& file) {
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
        EXPECT_TRUE(EndsAnotherHostLikeThis(status, bitness, file))
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
    // The damage must be light enough for some images to be captured, and heavy enough for some to fail.
    EXPECT_GT(succeeded, imagesOfWholeRun / step / 10);
    EXPECT_GT(failed, imagesOfWholeRun / step / 10);
}

} // namespace keyreap::endtoend
