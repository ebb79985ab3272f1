#include "pe/dependencywalker.h"
#include "pe/fileversion.h"
#include "platform/os/file/executablepath.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/versionresource.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;
using testsupport::TemporaryFolder;
using testsupport::VersionResource;

struct Alignments {
    std::uint32_t inMemory;
    std::uint32_t inFile;
};

void PrintTo(const Alignments& alignments, std::ostream* stream) {
    *stream << alignments.inMemory << " in memory, " << alignments.inFile << " in the file";
}

const std::string systemVersion = VersionResource::Of(u"Microsoft Corporation");

// Images of a system file, with every alignment that a loader accepts.
class AlignedImages : public testing::TestWithParam<Alignments> {
protected:
    static ImageBuilder Builder(ImageBits bits) {
        return ImageBuilder(bits).Aligned(GetParam().inMemory, GetParam().inFile).Version(systemVersion);
    }

    // The version, then a blank and the company; a part that can't be read is missing.
    static std::wstring Read(const std::wstring& path) {
        std::wstring version;
        ReadFileVersion(path, version);
        std::wstring company = path;
        return version + L' ' + (ReadCompanyName(company) ? company : L"");
    }

    // The number of records that a walk makes of a file that imports this one.
    std::size_t RecordsOfAWalkTo(const std::wstring& path) const {
        const std::string name = "system.dll";
        CopyFileW(path.c_str(), folder.File(L"system.dll").c_str(), FALSE);
        DependencyList list;
        DependencyWalker(folder.MakeFile(L"app.dll", ImageBuilder().Imports({name}).Build().bytes))
            .CollectDependencies(list);
        EXPECT_EQ(list.at(0).isSystem, 1U);
        EXPECT_EQ(list.at(0).version, L"1.2.3.4");
        return list.size();
    }

    TemporaryFolder folder;
};

constexpr wchar_t asSystemFile[] = L"1.2.3.4 Microsoft Corporation";

TEST_P(AlignedImages, VersionAndCompanyAreRead) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        const BuiltImage image = Builder(bits).Imports({"deep.dll"}).Exports({"A"}).Build();
        EXPECT_EQ(Read(folder.MakeFile(L"a.dll", image.bytes)), asSystemFile);
    }
}

TEST_P(AlignedImages, WalkDoesNotEnterASystemFile) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        const BuiltImage image = Builder(bits).Imports({"deep.dll"}).Build();
        EXPECT_EQ(RecordsOfAWalkTo(folder.MakeFile(L"a.dll", image.bytes)), 1U);
    }
}

TEST_P(AlignedImages, ResourceInBytesThatAreNotLoadedIsAbsent) {
    // The section has more bytes than its whole pages in memory take: the loader leaves the rest in the file.
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        BuiltImage image = Builder(bits).Build();
        constexpr std::ptrdiff_t dataAddress = 72;
        constexpr std::ptrdiff_t virtualSize = 8;
        constexpr std::ptrdiff_t fileSize = 16;
        const std::uint32_t beyondThePage = 0x1000;
        const std::uint32_t rva = std::max(GetParam().inMemory, 0x1000U);
        image.bytes.append(0x2000 + systemVersion.size(), 'x');
        image.bytes.replace(image.At("resources") + beyondThePage, systemVersion.size(), systemVersion);
        image.Set("resources", dataAddress, rva + beyondThePage);
        image.Set<std::uint32_t>("sections", virtualSize, 0x1000);
        image.Set<std::uint32_t>("sections", fileSize, 0x2000);
        EXPECT_EQ(Read(folder.MakeFile(L"a.dll", image.bytes)), L" ");
    }
}

INSTANTIATE_TEST_SUITE_P(Alignments, AlignedImages,
                         testing::Values(Alignments{0x1000, 0x200}, Alignments{0x1000, 0x1000},
                                         Alignments{0x2000, 0x200}, Alignments{0x2000, 0x2000},
                                         Alignments{0x4000, 0x1000}, Alignments{0x10000, 0x2000},
                                         Alignments{0x10000, 0x10000}));

// The same images, made by a linker.
class LinkedAlignedImages : public AlignedImages {
protected:
    static std::wstring Linked() {
        return GetExecutablePath().Parent().Text() + L"\\aligned_" + std::to_wstring(GetParam().inMemory) +
               L"_" + std::to_wstring(GetParam().inFile) + L".dll";
    }
};

TEST_P(LinkedAlignedImages, AreLoadedByTheSystem) {
    const HMODULE module = LoadLibraryW(Linked().c_str());
    EXPECT_NE(module, nullptr);
    FreeLibrary(module);
}

TEST_P(LinkedAlignedImages, VersionAndCompanyAreRead) {
    EXPECT_EQ(Read(Linked()), asSystemFile);
}

TEST_P(LinkedAlignedImages, WalkDoesNotEnterASystemFile) {
    EXPECT_EQ(RecordsOfAWalkTo(Linked()), 1U);
}

INSTANTIATE_TEST_SUITE_P(Alignments, LinkedAlignedImages,
                         testing::Values(Alignments{8192, 8192}, Alignments{65536, 8192},
                                         Alignments{8192, 512}, Alignments{16384, 4096}));

} // namespace
} // namespace keyreap
