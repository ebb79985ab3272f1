#include "pe/fileversion.h"
#include "pe/versionblock.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/importreplacement.h"
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

class FileVersion : public testing::Test {
protected:
    std::wstring FileWith(const VersionResource& resource) const { return FileWith(resource.Bytes()); }
    std::wstring FileWith(std::string resource) const {
        return FileOf(ImageBuilder().Version(std::move(resource)).Build().bytes);
    }
    std::wstring FileOf(std::string_view bytes) const { return folder.MakeFile(L"file.dll", bytes); }

    TemporaryFolder folder;
};

// The result of a query, or the unchanged output.
std::wstring VersionOf(const std::wstring& path) {
    std::wstring version = L"unchanged";
    return ReadFileVersion(path, version) ? version : L"failed, " + version;
}

std::wstring CompanyOf(const std::wstring& path) {
    std::wstring company = path;
    return ReadCompanyName(company) ? company
                                    : L"failed, " + std::wstring(company == path ? L"unchanged" : company);
}

constexpr wchar_t failed[] = L"failed, unchanged";

TEST_F(FileVersion, IsFourNumbersWithoutLeadingZeros) {
    EXPECT_EQ(VersionOf(FileWith(VersionResource().FileVersion(1, 2, 3, 4))), L"1.2.3.4");
}

TEST_F(FileVersion, PartsAbove32767AreUnsigned) {
    EXPECT_EQ(VersionOf(FileWith(VersionResource().FileVersion(32768, 65535, 40000, 32767))),
              L"32768.65535.40000.32767");
}

TEST_F(FileVersion, ResourceWithoutAFixedPartReadsAsZeros) {
    EXPECT_EQ(VersionOf(FileWith(VersionResource().Translation(0x0409, 0x04B0))), L"0.0.0.0");
}

TEST_F(FileVersion, IsReadInEitherBitnessAndLanguage) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        for (const std::uint16_t language : std::initializer_list<std::uint16_t>{0, 0x0409, 0x0407, 0x0411}) {
            const std::string resource = VersionResource().FileVersion(5, 6, 7, 8).Bytes();
            EXPECT_EQ(VersionOf(FileOf(ImageBuilder(bits).Version(resource, language).Build().bytes)),
                      L"5.6.7.8");
        }
    }
}

TEST_F(FileVersion, IsReadFromAnImageThatIsInMemoryAsInTheFile) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        const std::string resource = VersionResource().FileVersion(5, 6, 7, 8).Bytes();
        EXPECT_EQ(VersionOf(FileOf(ImageBuilder(bits).Flat().Version(resource).Build().bytes)), L"5.6.7.8");
    }
}

TEST_F(FileVersion, FailureLeavesTheTextUnchanged) {
    EXPECT_EQ(VersionOf(folder.File(L"missing.dll")), failed);
    EXPECT_EQ(VersionOf(FileOf(ImageBuilder().Imports({"a.dll"}).Build().bytes)), failed);
    EXPECT_EQ(VersionOf(FileOf("no image at all")), failed);
    EXPECT_EQ(VersionOf(FileOf("")), failed);
    EXPECT_EQ(VersionOf(folder.Path()), failed);
    EXPECT_EQ(VersionOf(L""), failed);
}

TEST_F(FileVersion, ResourceThatLeavesTheFileIsAbsent) {
    BuiltImage image = ImageBuilder().Version(VersionResource::Of(u"Own")).Build();
    constexpr std::ptrdiff_t dataSize = 72 + 4;
    image.Set<std::uint32_t>("resources", dataSize, 0x7FFFFFFF);
    EXPECT_EQ(VersionOf(FileOf(image.bytes)), failed);
    EXPECT_EQ(CompanyOf(FileOf(image.bytes)), failed);
}

TEST_F(FileVersion, ResourceThatLeavesItsSectionIsAbsentWhateverFollowsInTheFile) {
    // Such as a signature or an archive, which no loader puts into memory.
    const std::string appended(0x40000, 'x');
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        BuiltImage image = ImageBuilder(bits).Version(VersionResource::Of(u"Own")).Build();
        EXPECT_EQ(VersionOf(FileOf(image.bytes + appended)), L"1.2.3.4");
        constexpr std::ptrdiff_t dataSize = 72 + 4;
        image.Set<std::uint32_t>("resources", dataSize, 0x20000);
        EXPECT_EQ(VersionOf(FileOf(image.bytes + appended)), failed);
        EXPECT_EQ(CompanyOf(FileOf(image.bytes + appended)), failed);
    }
}

TEST_F(FileVersion, ResourceAfterTheImagesEndIsAbsent) {
    // An image that is in memory as in the file also ends where it says.
    const std::vector<std::string> names(300, "a.dll");
    BuiltImage image = ImageBuilder().Flat().Imports(names).Version(VersionResource::Of(u"Own")).Build();
    EXPECT_EQ(VersionOf(FileOf(image.bytes)), L"1.2.3.4");
    constexpr std::ptrdiff_t imageSize = 56;
    image.Set<std::uint32_t>("optional", imageSize, 0x1000);
    EXPECT_EQ(VersionOf(FileOf(image.bytes)), failed);
    EXPECT_EQ(CompanyOf(FileOf(image.bytes)), failed);
}

TEST_F(FileVersion, ImageThatNoLoaderTakesHasNoVersion) {
    constexpr std::ptrdiff_t imageBase = 24;
    BuiltImage image = ImageBuilder().Version(VersionResource::Of(u"Own")).Build();
    image.Set<std::uint16_t>("optional", imageBase, 0x1000);
    EXPECT_EQ(VersionOf(FileOf(image.bytes)), failed);
    EXPECT_EQ(CompanyOf(FileOf(image.bytes)), failed);
}

TEST_F(FileVersion, SectionThatALoaderTakesFromElsewhereIsNotRead) {
    // A loader takes sections from whole sectors of 512 bytes, so it begins a little before the place that
    // this header names. Both places have a resource.
    constexpr std::uint32_t beforeTheNextSector = 0x1F0;
    constexpr std::ptrdiff_t fileOffset = 20;
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        BuiltImage image = ImageBuilder(bits).Version(VersionResource::Of(u"Own")).Build();
        const std::size_t start = image.At("resources");
        image.bytes = image.bytes.substr(0, start + beforeTheNextSector) + image.bytes.substr(start);
        image.Set("sections", fileOffset, static_cast<std::uint32_t>(start) + beforeTheNextSector);
        EXPECT_EQ(CompanyOf(FileOf(image.bytes)), failed);
    }
}

TEST_F(FileVersion, EveryCutOfTheFileIsReadWithoutFault) {
    const BuiltImage image = ImageBuilder().Version(VersionResource::Of(u"Own")).Build();
    const std::size_t whole = image.At("resources") + 88 + VersionResource::Of(u"Own").size();
    for (std::size_t size = 0; size < image.bytes.size(); size += 13) {
        const std::wstring path = FileOf(std::string_view(image.bytes).substr(0, size));
        EXPECT_EQ(VersionOf(path), size < whole ? failed : L"1.2.3.4") << size;
        EXPECT_EQ(CompanyOf(path), size < whole ? failed : L"Own") << size;
    }
}

TEST_F(FileVersion, FalseLengthsInTheResourceAreFollowedWithoutFault) {
    const std::string sound = VersionResource::Of(u"Own");
    for (std::size_t place = 0; place + 1 < sound.size(); place += 2) {
        std::string resource = sound;
        resource[place] = '\xFF';
        resource[place + 1] = '\xFF';
        const std::wstring path = FileWith(resource);
        EXPECT_NE(VersionOf(path), L"");
        EXPECT_NE(CompanyOf(path), L"");
    }
}

TEST_F(FileVersion, LongPathIsRead) {
    const std::string bytes = ImageBuilder().Version(VersionResource::Of(u"Own")).Build().bytes;
    const std::wstring path = folder.MakeFile(folder.NameForLength(258), bytes);
    EXPECT_EQ(VersionOf(path), L"1.2.3.4");
    EXPECT_EQ(CompanyOf(path), L"Own");
}

TEST_F(FileVersion, CompanyIsReadThroughTheFirstTranslation) {
    EXPECT_EQ(CompanyOf(FileWith(VersionResource()
                                     .Table(0x0407, 0x04E4, {{u"CompanyName", u"Deutsch"}})
                                     .Table(0x0409, 0x04B0, {{u"CompanyName", u"English"}})
                                     .Translation(0x0409, 0x04B0)
                                     .Translation(0x0407, 0x04E4))),
              L"English");
}

TEST_F(FileVersion, CompanyOfAnotherTranslationThanTheFirstIsNotTried) {
    EXPECT_EQ(CompanyOf(FileWith(VersionResource()
                                     .Table(0x0409, 0x04B0, {{u"ProductName", u"Nameless"}})
                                     .Table(0x0407, 0x04E4, {{u"CompanyName", u"Deutsch"}})
                                     .Translation(0x0409, 0x04B0)
                                     .Translation(0x0407, 0x04E4))),
              failed);
}

TEST_F(FileVersion, CompanyWithoutATranslationTableIsAskedInEnglishAndCodePage1250) {
    EXPECT_EQ(CompanyOf(FileWith(VersionResource().Table(0x0409, 0x04E2, {{u"CompanyName", u"Default"}}))),
              L"Default");
    EXPECT_EQ(CompanyOf(FileWith(VersionResource().Table(0x0409, 0x04B0, {{u"CompanyName", u"Other"}}))),
              failed);
}

TEST_F(FileVersion, CompanyIsTheTextUpToItsFirstZero) {
    const std::u16string text = u"Own" + std::u16string(1, u'\0') + u"ed";
    EXPECT_EQ(
        CompanyOf(FileWith(
            VersionResource().Table(0x0409, 0x04B0, {{u"CompanyName", text}}).Translation(0x0409, 0x04B0))),
        L"Own");
}

TEST_F(FileVersion, CompanyMayHaveAnyLetters) {
    EXPECT_EQ(CompanyOf(FileWith(VersionResource::Of(u"Søren \u4E2D\u6587 GmbH"))),
              L"Søren \u4E2D\u6587 GmbH");
}

TEST_F(FileVersion, CompanyFailureLeavesThePathUnchanged) {
    EXPECT_EQ(CompanyOf(folder.File(L"missing.dll")), failed);
    EXPECT_EQ(CompanyOf(FileOf(ImageBuilder().Build().bytes)), failed);
    EXPECT_EQ(CompanyOf(FileOf("no image at all")), failed);
    EXPECT_EQ(CompanyOf(FileWith(VersionResource().FileVersion(1, 2, 3, 4))), failed);
}

// A system that finds no version resource, and reports this error.
DWORD failureReason = ERROR_SUCCESS;

DWORD WINAPI FindNone(LPCWSTR, LPDWORD) {
    SetLastError(failureReason);
    return 0;
}

TEST_F(FileVersion, FailureWithoutAnErrorCodeGivesAVersionOfZerosAndNoCompany) {
    const testsupport::ImportReplacement replacement("GetFileVersionInfoSizeW",
                                                     reinterpret_cast<const void*>(&FindNone));
    const std::wstring path = FileWith(VersionResource::Of(u"Own"));
    failureReason = ERROR_SUCCESS;
    EXPECT_EQ(VersionOf(path), L"0.0.0.0");
    EXPECT_EQ(CompanyOf(path), failed);
    failureReason = ERROR_RESOURCE_TYPE_NOT_FOUND;
    EXPECT_EQ(VersionOf(path), failed);
}

TEST_F(FileVersion, SystemIsAskedForAFileThatIsNoImageToo) {
    const testsupport::ImportReplacement replacement("GetFileVersionInfoSizeW",
                                                     reinterpret_cast<const void*>(&FindNone));
    failureReason = ERROR_SUCCESS;
    EXPECT_EQ(VersionOf(FileOf("no image")), L"0.0.0.0");
}

TEST(VersionBlock, HoldsNothingBeforeItIsLoaded) {
    const VersionBlock block;
    EXPECT_EQ(block.Find(L"\\"), nullptr);
    EXPECT_EQ(block.Number<std::uint32_t>(nullptr, 0), 0U);
    EXPECT_EQ(block.Text(nullptr), L"");
}

} // namespace
} // namespace keyreap
