#include "pe/dependencywalker.h"
#include "pe/exportsearch.h"
#include "pe/fileversion.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/mutation.h"
#include "tests/support/samplestep.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/versionresource.h"

#include <windows.h>

#include <objbase.h>

#include <gtest/gtest.h>

#include <string>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;
using testsupport::TemporaryFolder;
using testsupport::VersionResource;

// The number of files that gave an answer to each question: it shows how far the questions went.
struct Answers {
    std::uint32_t peFiles = 0;
    std::uint32_t exports = 0;
    std::uint32_t dependencies = 0;
    std::uint32_t digests = 0;
    std::uint32_t versions = 0;
    std::uint32_t companies = 0;

    void Ask(const std::wstring& path) {
        PeImage image(path);
        exports += HasExportNamed(image, "DllRegisterServer") ? 1 : 0;
        DependencyWalker walker(path);
        peFiles += walker.IsPeFile() ? 1 : 0;
        DependencyList list;
        EXPECT_EQ(walker.CollectDependencies(list), 0U);
        dependencies += list.empty() ? 0 : 1;
        Sha1Digest digest;
        digests += walker.ComputeSha1(digest) ? 1 : 0;
        std::wstring version;
        versions += ReadFileVersion(path, version) ? 1 : 0;
        std::wstring company = path;
        companies += ReadCompanyName(company) ? 1 : 0;
    }
};

class MutatedImages : public testing::TestWithParam<ImageBits> {
protected:
    // One apartment for all the lookups of known folders.
    MutatedImages() { CoInitialize(nullptr); }
    ~MutatedImages() override { CoUninitialize(); }

    // An image with every table, and after it bytes that no section contains.
    static BuiltImage Image(std::uint32_t sectionAlignment, std::uint32_t fileAlignment) {
        BuiltImage image = ImageBuilder(GetParam())
                               .Aligned(sectionAlignment, fileAlignment)
                               .Exports({"DllCanUnloadNow", "DllRegisterServer"}, 2)
                               .Imports({"one.dll", "missing.dll"})
                               .DelayImports({"late.dll"})
                               .Version(VersionResource::Of(u"Own"))
                               .Build();
        image.bytes.append(0x3000, 'x');
        return image;
    }
};

TEST_P(MutatedImages, GoThroughEveryQueryWithoutAFaultOrAHang) {
    // The whole run has all files, another one a tenth of them.
    const std::uint32_t files = 5000 / testsupport::SampleStep();
    const BuiltImage images[] = {Image(0x1000, 0x200), Image(0x2000, 0x2000), Image(0x200, 0x200)};
    const TemporaryFolder folder;
    folder.MakeFile(L"one.dll", ImageBuilder(GetParam()).Imports({"missing too.dll"}).Build().bytes);
    Answers answers;
    for (std::uint32_t seed = 0; seed < files; ++seed) {
        // Each file has its own name: a 32-bit Wine keeps an image open if its export table was damaged.
        const std::wstring file = folder.MakeFile(
            std::to_wstring(seed) + L".dll", testsupport::Mutated(images[seed % std::size(images)], seed));
        answers.Ask(file);
        DeleteFileW(file.c_str());
    }
    for (const std::uint32_t count : {answers.peFiles, answers.exports, answers.dependencies, answers.digests,
                                      answers.versions, answers.companies}) {
        EXPECT_GT(count, files / 4);
        EXPECT_LE(count, files);
    }
}

INSTANTIATE_TEST_SUITE_P(Bitness, MutatedImages, testing::Values(ImageBits::bits32, ImageBits::bits64));

} // namespace
} // namespace keyreap
