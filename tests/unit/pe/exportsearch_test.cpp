#include "pe/exportsearch.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::ImageBits;
using testsupport::ImageBuilder;
using testsupport::TemporaryFolder;

bool HasExport(std::string_view bytes, std::string_view name) {
    const TemporaryFolder folder;
    PeImage image(folder.MakeFile(L"image.dll", bytes));
    return HasExportNamed(image, name);
}

TEST(HasExportNamed, FindsANameInEitherBitness) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        const std::string bytes =
            ImageBuilder(bits).Exports({"DllGetClassObject", "DllRegisterServer"}).Build().bytes;
        EXPECT_TRUE(HasExport(bytes, "DllRegisterServer"));
        EXPECT_FALSE(HasExport(bytes, "DLLREGISTERSERVER"));
        EXPECT_FALSE(HasExport(bytes, "DllInstall"));
    }
}

TEST(HasExportNamed, OrdinalAloneHasNoName) {
    EXPECT_FALSE(HasExport(ImageBuilder().Exports({}, 4).Build().bytes, "DllRegisterServer"));
}

TEST(HasExportNamed, FileWithoutExportsHasNone) {
    EXPECT_FALSE(HasExport(ImageBuilder().Imports({"a.dll"}).Build().bytes, "DllRegisterServer"));
    EXPECT_FALSE(HasExport("no image at all", "DllRegisterServer"));
    EXPECT_FALSE(HasExport("", "DllRegisterServer"));
}

TEST(HasExportNamed, FindsTheExportsOfTheSystemsOwnModules) {
    wchar_t directory[MAX_PATH];
    GetSystemDirectoryW(directory, MAX_PATH);
    PeImage image(directory + std::wstring(L"\\msxml3.dll"));
    EXPECT_TRUE(HasExportNamed(image, "DllRegisterServer"));
    EXPECT_FALSE(HasExportNamed(image, "DllRegisterServe"));
}

} // namespace
} // namespace keyreap
