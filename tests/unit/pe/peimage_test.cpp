#include "pe/peimage.h"
#include "platform/os/file/widepath.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/importreplacement.h"
#include "tests/support/mutation.h"
#include "tests/support/sectiontable.h"
#include "tests/support/temporaryfolder.h"

#include <dbghelp.h>

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;
using testsupport::ImportReplacement;
using testsupport::TemporaryFolder;

class PeImageTest : public testing::Test {
protected:
    PeImage Image(std::string_view bytes) const { return PeImage(folder.MakeFile(L"image.dll", bytes)); }

    bool Is64BitWithMachine(std::uint16_t machine) const {
        return Image(ImageBuilder().Machine(machine).Build().bytes).Is64Bit();
    }

    TemporaryFolder folder;
};

// A file that answers no to every question.
void ExpectNothing(PeImage& image) {
    EXPECT_FALSE(image.IsPeFile());
    EXPECT_FALSE(image.Is64Bit());
    EXPECT_EQ(image.ExportDirectory(), nullptr);
    EXPECT_EQ(image.ImportDirectory(), nullptr);
    EXPECT_EQ(image.DirectoryData(delayImportDirectoryEntry, 1), nullptr);
    EXPECT_EQ(image.Resolve(0x1000), nullptr);
}

TEST_F(PeImageTest, MissingFileAnswersNo) {
    PeImage image(folder.File(L"missing.dll"));
    EXPECT_FALSE(image.IsMapped());
    ExpectNothing(image);
}

TEST_F(PeImageTest, FileOfLengthZeroGivesNoMapping) {
    PeImage image(folder.MakeFile(L"empty.dll"));
    EXPECT_FALSE(image.IsMapped());
    ExpectNothing(image);
}

TEST_F(PeImageTest, FolderAnswersNo) {
    PeImage image(folder.Path());
    ExpectNothing(image);
}

TEST_F(PeImageTest, TextFileAnswersNo) {
    PeImage image(folder.MakeFile(L"a.txt", std::string(5000, 'x')));
    EXPECT_TRUE(image.IsMapped());
    ExpectNothing(image);
}

int headerQuestions = 0;
const ImportReplacement* replacedHelper = nullptr;

PIMAGE_NT_HEADERS WINAPI NoteHeaderQuestion(PVOID base) {
    ++headerQuestions;
    return replacedHelper->Original<decltype(&ImageNtHeader)>()(base);
}

TEST_F(PeImageTest, WithoutTheLettersMzTheHelperIsAskedForTheImportsAlone) {
    const ImportReplacement replacement("ImageNtHeader", reinterpret_cast<const void*>(&NoteHeaderQuestion));
    replacedHelper = &replacement;
    BuiltImage built = ImageBuilder().Exports({"A"}).Imports({"a.dll"}).Build();
    built.Set<std::uint16_t>("dos", 0, 0x4D5A);
    PeImage image = Image(built.bytes);
    headerQuestions = 0;
    EXPECT_FALSE(image.IsPeFile());
    EXPECT_FALSE(image.Is64Bit());
    EXPECT_EQ(image.ExportDirectory(), nullptr);
    EXPECT_EQ(headerQuestions, 0);
    EXPECT_EQ(image.ImportDirectory(), nullptr);
    EXPECT_EQ(headerQuestions, 1);
    PeImage sound(folder.MakeFile(L"sound.dll", ImageBuilder().Build().bytes));
    EXPECT_TRUE(sound.IsPeFile());
    EXPECT_EQ(headerQuestions, 2);
}

TEST_F(PeImageTest, LettersMzWithoutAValidHeaderPositionAnswerNo) {
    for (const char last : {'\0', '\xFF'}) {
        PeImage image(folder.MakeFile(L"a.exe", "MZ" + std::string(61, '\0') + last));
        ExpectNothing(image);
    }
}

TEST_F(PeImageTest, OtherSignatureThanPeAnswersNo) {
    BuiltImage built = ImageBuilder().Imports({"a.dll"}).Build();
    built.Set<std::uint32_t>("nt", 0, 0x454E);
    PeImage image = Image(built.bytes);
    ExpectNothing(image);
}

TEST_F(PeImageTest, SmallestPeFileEndsWithTheFileHeader) {
    const BuiltImage built = ImageBuilder().Build();
    const std::string_view bytes = built.bytes;
    EXPECT_TRUE(Image(bytes.substr(0, built.At("nt") + 24)).IsPeFile());
    EXPECT_FALSE(Image(bytes.substr(0, built.At("nt") + 23)).IsPeFile());
}

TEST_F(PeImageTest, Amd64AndItaniumAre64Bit) {
    EXPECT_TRUE(Is64BitWithMachine(0x8664));
    EXPECT_TRUE(Is64BitWithMachine(0x0200));
}

TEST_F(PeImageTest, EveryOtherMachineCountsAs32Bit) {
    EXPECT_FALSE(Is64BitWithMachine(0x014C));
    EXPECT_FALSE(Is64BitWithMachine(0x01C0));
    EXPECT_FALSE(Is64BitWithMachine(0xAA64));
    EXPECT_FALSE(Is64BitWithMachine(0));
}

TEST_F(PeImageTest, BitnessIsTheMachinesAndNotTheOptionalHeaders) {
    EXPECT_TRUE(Image(ImageBuilder(ImageBits::bits32).Machine(0x8664).Build().bytes).Is64Bit());
    EXPECT_FALSE(Image(ImageBuilder(ImageBits::bits64).Machine(0x014C).Build().bytes).Is64Bit());
}

TEST_F(PeImageTest, DllWithoutExportsIsAPeFileWithoutAnExportDirectory) {
    PeImage image = Image(ImageBuilder().Imports({"a.dll"}).Build().bytes);
    EXPECT_TRUE(image.IsPeFile());
    EXPECT_EQ(image.ExportDirectory(), nullptr);
}

TEST_F(PeImageTest, DirectoriesLieWhereTheFileHasThem) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        const BuiltImage built =
            ImageBuilder(bits).Exports({"A"}).Imports({"a.dll"}).DelayImports({"b.dll"}).Build();
        PeImage image = Image(built.bytes);
        const std::byte* start = image.View().Start();
        EXPECT_EQ(image.ExportDirectory(), start + built.At("exports"));
        EXPECT_EQ(image.ImportDirectory(), start + built.At("imports"));
        EXPECT_EQ(image.DirectoryData(delayImportDirectoryEntry, 1), start + built.At("delayImports"));
    }
}

TEST_F(PeImageTest, DirectoryInTheHeadersNeedsNoSection) {
    BuiltImage built = ImageBuilder().Imports({"a.dll"}).Build();
    const std::uint32_t inHeaders = 0x300;
    built.Set("directories", 8, inHeaders);
    PeImage image = Image(built.bytes);
    EXPECT_EQ(image.ImportDirectory(), image.View().Start() + inHeaders);
}

TEST_F(PeImageTest, DirectoryBeyondTheirNumberIsAbsent) {
    BuiltImage built = ImageBuilder().Exports({"A"}).Imports({"a.dll"}).Build();
    built.Set<std::uint32_t>("directories", -4, 1);
    PeImage image = Image(built.bytes);
    EXPECT_NE(image.ExportDirectory(), nullptr);
    EXPECT_EQ(image.ImportDirectory(), nullptr);
}

TEST_F(PeImageTest, DirectoryThatIsCutIsAbsent) {
    const BuiltImage built = ImageBuilder().Imports({"a.dll"}).Build();
    const std::string_view bytes = built.bytes;
    EXPECT_NE(Image(bytes.substr(0, built.At("imports") + 20)).ImportDirectory(), nullptr);
    EXPECT_EQ(Image(bytes.substr(0, built.At("imports") + 19)).ImportDirectory(), nullptr);
}

TEST_F(PeImageTest, DirectoryInAGapBetweenSectionsIsAbsent) {
    BuiltImage built = ImageBuilder().Exports({"A"}).Imports({"a.dll"}).Build();
    built.Set<std::uint32_t>("directories", 8, 0x1F00);
    EXPECT_EQ(Image(built.bytes).ImportDirectory(), nullptr);
}

TEST_F(PeImageTest, SectionOutsideTheFileHasNoPlaces) {
    for (const std::uint32_t offset : {0x00100000U, 0x7FFFFFFFU, 0xFFFFFF00U}) {
        BuiltImage built = ImageBuilder().Imports({"a.dll"}).Build();
        built.Set("sections", 20, offset);
        PeImage image = Image(built.bytes);
        EXPECT_TRUE(image.IsPeFile());
        EXPECT_EQ(image.ImportDirectory(), nullptr) << offset;
        EXPECT_EQ(image.Resolve(0x1000), nullptr) << offset;
    }
}

TEST_F(PeImageTest, SectionTableThatIsCutHasNoPlaces) {
    const BuiltImage built = ImageBuilder().Imports({"a.dll"}).Build();
    PeImage image = Image(std::string_view(built.bytes).substr(0, built.At("headersEnd") - 1));
    EXPECT_TRUE(image.IsPeFile());
    EXPECT_EQ(image.ImportDirectory(), nullptr);
    EXPECT_EQ(image.Resolve(0x1000), nullptr);
}

TEST_F(PeImageTest, ResolveGoesByTheSectionTable) {
    const BuiltImage built = ImageBuilder().Imports({"a.dll"}).Build();
    PeImage image = Image(built.bytes);
    EXPECT_EQ(image.Resolve(0x1000), nullptr) << "no header test has run";
    ASSERT_TRUE(image.FindNtHeaders());
    EXPECT_EQ(image.Resolve(0x1004), image.View().Start() + built.At("imports") + 4);
    EXPECT_EQ(image.Resolve(0x0FFF), nullptr);
    EXPECT_EQ(image.Resolve(0x1200), nullptr);
    EXPECT_EQ(image.Resolve(0xFFFFFFFF), nullptr);
}

TEST_F(PeImageTest, OthersMayReadTheFileMeanwhileButNotWrite) {
    const std::wstring path = folder.MakeFile(L"image.dll", ImageBuilder().Build().bytes);
    const PeImage image(path);
    const DWORD sharing = FILE_SHARE_READ | FILE_SHARE_WRITE;
    const OwnedFile reader(
        CreateFileW(path.c_str(), GENERIC_READ, sharing, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_TRUE(reader.Valid());
    const OwnedFile writer(
        CreateFileW(path.c_str(), GENERIC_WRITE, sharing, nullptr, OPEN_EXISTING, 0, nullptr));
    EXPECT_FALSE(writer.Valid());
}

TEST_F(PeImageTest, FileIsReleasedAtTheEnd) {
    const std::wstring path = folder.MakeFile(L"image.dll", ImageBuilder().Build().bytes);
    PeImage(path).Is64Bit();
    EXPECT_TRUE(DeleteFileW(path.c_str()));
}

TEST_F(PeImageTest, LongPathInItsExtendedFormIsRead) {
    const std::wstring path = folder.MakeFile(folder.NameForLength(298), ImageBuilder().Build().bytes);
    EXPECT_TRUE(PeImage(ExtendedLengthForm(path)).Is64Bit());
}

TEST_F(PeImageTest, HelpersAgreeWithTheSectionTableOnDamagedImages) {
    const BuiltImage built = ImageBuilder().Exports({"A"}).Imports({"a.dll"}).DelayImports({"b.dll"}).Build();
    for (std::uint32_t seed = 0; seed < 1000; ++seed) {
        PeImage image = Image(testsupport::Mutated(built, seed));
        const CheckedView& view = image.View();
        if (!image.IsPeFile() || !view.HasDirectoryEntry(importDirectoryEntry)) {
            continue;
        }
        const std::byte* expected = testsupport::DirectoryBySections(view, importDirectoryEntry);
        EXPECT_EQ(image.ImportDirectory(), view.Holds(expected, 20) ? expected : nullptr) << seed;
        for (const std::uint32_t rva : {0U, 0x1000U, 0x1028U, 0x2010U, 0x3000U, 0xFFFFFFF0U}) {
            const std::byte* place = testsupport::PlaceBySections(view, rva);
            EXPECT_EQ(image.Resolve(rva), view.Holds(place, 1) ? place : nullptr) << seed;
        }
    }
}

} // namespace
} // namespace keyreap
