#include "pe/checkedview.h"
#include "tests/support/exactfile.h"
#include "tests/support/imagebuilder.h"

#include <gtest/gtest.h>

#include <memory>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;
using File = testsupport::ExactFile;

constexpr std::uint64_t huge = ~std::uint64_t{0};

BuiltImage ImageOf(ImageBits bits) {
    return ImageBuilder(bits).Exports({"DllRegisterServer"}).Imports({"a.dll"}).Build();
}

// The file cut after a number of bytes.
CheckedView CutAt(const BuiltImage& image, std::size_t size, std::unique_ptr<File>& holder) {
    holder = std::make_unique<File>(std::string_view(image.bytes).substr(0, size));
    return holder->View();
}

TEST(CheckedView, OfNothingHoldsNothing) {
    const CheckedView view;
    EXPECT_FALSE(view.HasDosMagic());
    EXPECT_FALSE(view.HasNtHeaders());
    EXPECT_FALSE(view.HasSectionTable());
    EXPECT_FALSE(view.HasDirectoryEntry(0));
    EXPECT_FALSE(view.Holds(nullptr, 1));
    EXPECT_EQ(view.TextAt(nullptr), std::nullopt);
}

TEST(Holds, EndsWithTheLastByte) {
    const File file("abcd");
    const CheckedView view = file.View();
    EXPECT_TRUE(view.Holds(view.Start(), 4));
    EXPECT_FALSE(view.Holds(view.Start(), 5));
    EXPECT_TRUE(view.Holds(view.Start() + 3, 1));
    EXPECT_FALSE(view.Holds(view.Start() + 4, 1));
}

TEST(Holds, NothingInFrontOfTheFileAndNoNull) {
    const File file("abcd");
    const CheckedView view = file.View();
    const auto before = reinterpret_cast<std::uintptr_t>(view.Start()) - 1;
    EXPECT_FALSE(view.Holds(reinterpret_cast<const std::byte*>(before), 1));
    EXPECT_FALSE(view.Holds(nullptr, 1));
}

TEST(Holds, SizeThatWrapsIsTooMuch) {
    const File file("abcd");
    EXPECT_FALSE(file.View().Holds(file.View().Start() + 1, huge));
    EXPECT_FALSE(file.View().Holds(file.View().Start() + 1, huge - 1));
}

TEST(Read, TakesLittleEndianNumbersAtAnyAlignment) {
    const File file(std::string_view("\xFF\x01\x02\x03\x04", 5));
    const CheckedView view = file.View();
    EXPECT_EQ(view.Read<std::uint32_t>(view.Start() + 1), 0x04030201U);
    EXPECT_EQ(view.Read<std::uint16_t>(view.Start() + 3), 0x0403U);
}

TEST(Read, IsEmptyWhenAPartIsOutside) {
    const File file("abcde");
    EXPECT_EQ(file.View().Read<std::uint32_t>(file.View().Start() + 2), std::nullopt);
}

TEST(TextAt, EndsAtItsZero) {
    const File file(std::string_view("one\0two\0", 8));
    const CheckedView view = file.View();
    EXPECT_EQ(view.TextAt(view.Start()), "one");
    EXPECT_EQ(view.TextAt(view.Start() + 4), "two");
    EXPECT_EQ(view.TextAt(view.Start() + 7), "");
}

TEST(TextAt, WithoutAZeroInTheFileIsEmpty) {
    const File file(std::string_view("one\0two", 7));
    const CheckedView view = file.View();
    EXPECT_EQ(view.TextAt(view.Start() + 4), std::nullopt);
    EXPECT_EQ(view.TextAt(view.Start() + 7), std::nullopt);
}

TEST(HoldsText, WantsTheWholeTextAndItsZero) {
    const File file(std::string_view("DllRegister\0DllRegisterServer", 29));
    const CheckedView view = file.View();
    EXPECT_TRUE(view.HoldsText(view.Start(), "DllRegister"));
    EXPECT_FALSE(view.HoldsText(view.Start(), "DllRegist"));
    EXPECT_FALSE(view.HoldsText(view.Start(), "dllregister"));
    EXPECT_FALSE(view.HoldsText(view.Start() + 12, "DllRegisterServer"));
    EXPECT_FALSE(view.HoldsText(nullptr, "DllRegister"));
}

TEST(HasDosMagic, NeedsTwoBytes) {
    EXPECT_TRUE(File("MZ").View().HasDosMagic());
    EXPECT_FALSE(File("M").View().HasDosMagic());
    EXPECT_FALSE(File("ZM").View().HasDosMagic());
    EXPECT_FALSE(File("").View().HasDosMagic());
}

TEST(HasNtHeaders, NeedsAWholeDosHeader) {
    EXPECT_FALSE(File("MZ").View().HasNtHeaders());
    EXPECT_FALSE(File("MZ" + std::string(61, '\0')).View().HasNtHeaders());
}

TEST(HasNtHeaders, EndsWithTheFileHeader) {
    const BuiltImage image = ImageOf(ImageBits::bits64);
    std::unique_ptr<File> file;
    EXPECT_TRUE(CutAt(image, image.At("nt") + 24, file).HasNtHeaders());
    EXPECT_FALSE(CutAt(image, image.At("nt") + 23, file).HasNtHeaders());
}

TEST(HasNtHeaders, PositionAfterTheFileIsInvalid) {
    for (const std::uint32_t position : {0x00100000U, 0x7FFFFFFFU, 0xFFFFFFF8U, 0xFFFFFFFFU}) {
        BuiltImage image = ImageOf(ImageBits::bits64);
        image.Set("dos", 60, position);
        EXPECT_FALSE(File(image.bytes).View().HasNtHeaders()) << position;
    }
}

TEST(HasNtHeaders, NegativePositionIsInvalidInAFileOfAnyLength) {
    BuiltImage image = ImageOf(ImageBits::bits64);
    image.Set("dos", 60, 0x80000000U);
    const File file(image.bytes);
    // Nothing after the headers is read, so the length may be false.
    constexpr std::size_t claimed = 0xC0000000;
    EXPECT_FALSE(CheckedView(std::span(file.View().Start(), claimed)).HasNtHeaders());
}

class EitherBitness : public testing::TestWithParam<ImageBits> {
protected:
    BuiltImage image = ImageOf(GetParam());
    std::unique_ptr<File> file;
};

TEST_P(EitherBitness, SectionTableEndsWithItsLastHeader) {
    EXPECT_TRUE(CutAt(image, image.At("headersEnd"), file).HasSectionTable());
    EXPECT_FALSE(CutAt(image, image.At("headersEnd") - 1, file).HasSectionTable());
}

TEST_P(EitherBitness, FalseSectionCountLeavesNoTable) {
    image.Set<std::uint16_t>("nt", 6, 0xFFFF);
    EXPECT_FALSE(File(image.bytes).View().HasSectionTable());
}

TEST_P(EitherBitness, FalseOptionalHeaderSizeLeavesNoTable) {
    image.Set<std::uint16_t>("nt", 20, 0xFFFF);
    EXPECT_FALSE(File(image.bytes).View().HasSectionTable());
}

TEST_P(EitherBitness, TableWithoutSectionsIsThere) {
    image.Set<std::uint16_t>("nt", 6, 0);
    EXPECT_TRUE(CutAt(image, image.At("sections"), file).HasSectionTable());
}

TEST_P(EitherBitness, DirectoryEntryLiesInsideTheFile) {
    // Without sections and with a short optional header, only the entry itself is read.
    image.Set<std::uint16_t>("nt", 6, 0);
    image.Set<std::uint16_t>("nt", 20, 0);
    const std::size_t entryEnd = image.At("directories") + 8 * 14;
    EXPECT_TRUE(CutAt(image, entryEnd, file).HasDirectoryEntry(13));
    EXPECT_FALSE(CutAt(image, entryEnd - 1, file).HasDirectoryEntry(13));
    EXPECT_FALSE(CutAt(image, image.At("optional") + 1, file).HasDirectoryEntry(0));
}

TEST_P(EitherBitness, DirectoryEntryNeedsTheSectionTable) {
    EXPECT_TRUE(CutAt(image, image.At("headersEnd"), file).HasDirectoryEntry(13));
    EXPECT_FALSE(CutAt(image, image.At("headersEnd") - 1, file).HasDirectoryEntry(13));
}

TEST_P(EitherBitness, LinkedImageHasALayout) {
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    EXPECT_FALSE(CutAt(image, image.At("headersEnd") - 1, file).HasLayout());
}

TEST_P(EitherBitness, SectionsThatOverlapTheHeadersOrEachOtherHaveNoLayout) {
    constexpr std::ptrdiff_t firstAddress = 12;
    constexpr std::ptrdiff_t secondAddress = 40 + 12;
    for (const std::ptrdiff_t address : {firstAddress, secondAddress}) {
        BuiltImage other = image;
        other.Set<std::uint32_t>("sections", address, 0);
        EXPECT_FALSE(File(other.bytes).View().HasLayout()) << address;
    }
    image.Set<std::uint32_t>("sections", secondAddress, 0x1000);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, SectionsAlignedToLessThanAPageLieAsInTheFile) {
    constexpr std::ptrdiff_t sectionAlignment = 32;
    constexpr std::ptrdiff_t secondAddress = 40 + 12;
    image.Set<std::uint32_t>("sections", secondAddress, 0x1200);
    image.Set<std::uint32_t>("optional", sectionAlignment, 0x800);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("optional", sectionAlignment, 0x1800);
    EXPECT_TRUE(File(image.bytes).View().HasLayout()) << "nor is this a number of whole pages";
    image.Set<std::uint32_t>("optional", sectionAlignment, 0x2000);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, SectionWithMoreBytesThanRoomHasNoLayout) {
    constexpr std::ptrdiff_t virtualSize = 8;
    constexpr std::ptrdiff_t fileSize = 16;
    image.Set<std::uint32_t>("sections", virtualSize, 1);
    image.Set<std::uint32_t>("sections", fileSize, 0x1000);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", fileSize, 0x1001);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", virtualSize, 0);
    EXPECT_FALSE(File(image.bytes).View().HasLayout()) << "the second section begins a page after the first";
}

TEST_P(EitherBitness, LastSectionMayHaveMoreBytesThanRoom) {
    constexpr std::ptrdiff_t lastVirtualSize = 40 + 8;
    constexpr std::ptrdiff_t lastFileSize = 40 + 16;
    image.Set<std::uint32_t>("sections", lastVirtualSize, 1);
    image.Set<std::uint32_t>("sections", lastFileSize, 0xFFFFFFFF);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, SectionsAreRoundedToTheImagesOwnAlignment) {
    constexpr std::ptrdiff_t fileSize = 16;
    constexpr std::ptrdiff_t secondAddress = 40 + 12;
    image = ImageBuilder(GetParam()).Aligned(0x4000, 0x4000).Exports({"A"}).Imports({"a.dll"}).Build();
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", fileSize, 0x4001);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", fileSize, 0x200);
    image.Set<std::uint32_t>("sections", secondAddress, 0x7000);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, MissingAlignmentCountsAsAPage) {
    constexpr std::ptrdiff_t sectionAlignment = 32;
    constexpr std::ptrdiff_t virtualSize = 8;
    image.Set<std::uint32_t>("optional", sectionAlignment, 0);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", virtualSize, 0x1001);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, LoadedBytesAreThoseOfTheHeadersOrOfASection) {
    const File whole(image.bytes);
    const CheckedView view = whole.View();
    const auto isAt = [&view](std::uint32_t rva, std::size_t place, std::size_t size) {
        const std::span<const std::byte> loaded = view.LoadedBytes(rva);
        return loaded.data() == view.Start() + place && loaded.size() == size;
    };
    EXPECT_TRUE(isAt(0, 0, 0x400));
    EXPECT_TRUE(isAt(0x3FF, 0x3FF, 1));
    EXPECT_TRUE(view.LoadedBytes(0x400).empty());
    EXPECT_TRUE(view.LoadedBytes(0xFFF).empty());
    EXPECT_TRUE(isAt(0x1000, image.At("exports"), 0x200));
    EXPECT_TRUE(isAt(0x11FF, image.At("exports") + 0x1FF, 1));
    EXPECT_TRUE(view.LoadedBytes(0x1200).empty());
    EXPECT_TRUE(isAt(0x2000, image.At("imports"), 0x200));
    EXPECT_TRUE(view.LoadedBytes(0xFFFFFFFF).empty());
}

TEST_P(EitherBitness, LoadedBytesEndWithTheFileThePagesAndTheImage) {
    constexpr std::ptrdiff_t virtualSize = 8;
    constexpr std::ptrdiff_t fileSize = 16;
    constexpr std::ptrdiff_t imageSize = 56;
    EXPECT_EQ(CutAt(image, image.At("exports") + 7, file).LoadedBytes(0x1000).size(), 7U);
    EXPECT_TRUE(CutAt(image, image.At("exports"), file).LoadedBytes(0x1000).empty());
    EXPECT_TRUE(CutAt(image, image.At("headersEnd") - 1, file).LoadedBytes(0).empty());
    image.bytes.append(0x4000, 'x');
    image.Set<std::uint32_t>("sections", virtualSize, 1);
    image.Set<std::uint32_t>("sections", fileSize, 0x3000);
    EXPECT_EQ(File(image.bytes).View().LoadedBytes(0x1000).size(), 0x1000U);
    EXPECT_TRUE(File(image.bytes).View().LoadedBytes(0x2000).empty());
    image.Set<std::uint32_t>("optional", imageSize, 0x1000);
    EXPECT_TRUE(File(image.bytes).View().LoadedBytes(0x1000).empty());
    image.Set<std::uint32_t>("optional", imageSize, 0x1001);
    EXPECT_EQ(File(image.bytes).View().LoadedBytes(0x1000).size(), 0x1000U) << "an image is whole pages";
    image.Set<std::uint32_t>("optional", imageSize, 0);
    EXPECT_TRUE(File(image.bytes).View().LoadedBytes(1).empty());
}

TEST_P(EitherBitness, SectionThatStartsWithinASectorHasNoLayout) {
    constexpr std::ptrdiff_t fileSize = 16;
    constexpr std::ptrdiff_t fileOffset = 20;
    image.Set<std::uint32_t>("sections", fileOffset, 0x5F0);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", fileSize, 0);
    EXPECT_TRUE(File(image.bytes).View().HasLayout()) << "nothing is taken from there";
}

TEST_P(EitherBitness, SectionWithoutASizeInMemoryHasThatOfItsFile) {
    constexpr std::ptrdiff_t virtualSize = 8;
    image.Set<std::uint32_t>("sections", virtualSize, 0);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    EXPECT_EQ(File(image.bytes).View().LoadedBytes(0x1000).size(), 0x200U);
}

TEST_P(EitherBitness, LoadedBytesOfAFlatImageLieWhereTheFileHasThem) {
    constexpr std::ptrdiff_t address = 12;
    image = ImageBuilder(GetParam()).Flat().Exports({"A"}).Build();
    EXPECT_EQ(File(image.bytes).View().LoadedBytes(0x400).size(), 0x200U);
    image.Set<std::uint32_t>("sections", address, 0x600);
    EXPECT_TRUE(File(image.bytes).View().LoadedBytes(0x600).empty());
}

TEST_P(EitherBitness, DirectoryAddressIsZeroBeyondTheirNumber) {
    const File whole(image.bytes);
    EXPECT_EQ(whole.View().DirectoryAddress(0), 0x1000U);
    EXPECT_EQ(whole.View().DirectoryAddress(1), 0x2000U);
    EXPECT_EQ(whole.View().DirectoryAddress(2), 0U);
    image.Set<std::uint32_t>("directories", -4, 1);
    EXPECT_EQ(File(image.bytes).View().DirectoryAddress(1), 0U);
    EXPECT_EQ(CutAt(image, image.At("directories") + 7, file).DirectoryAddress(0), 0U);
}

TEST_P(EitherBitness, SectionOfWholePagesEndsWhereTheNextBegins) {
    constexpr std::ptrdiff_t virtualSize = 8;
    image.Set<std::uint32_t>("sections", virtualSize, 0x1000);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("sections", virtualSize, 0x1001);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, SectionWithoutASizeInMemoryHasThatOfItsBytes) {
    constexpr std::ptrdiff_t virtualSize = 8;
    constexpr std::ptrdiff_t fileSize = 16;
    image.Set<std::uint32_t>("sections", virtualSize, 0);
    image.Set<std::uint32_t>("sections", fileSize, 0x1000);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
}

TEST_P(EitherBitness, BaseThatIsNoMultipleOf64KiBHasNoLayout) {
    const std::ptrdiff_t base = GetParam() == ImageBits::bits64 ? 24 : 28;
    image.Set<std::uint32_t>("optional", base, 0x10001000);
    EXPECT_FALSE(File(image.bytes).View().HasLayout());
    image.Set<std::uint32_t>("optional", base, 0x20010000);
    EXPECT_TRUE(File(image.bytes).View().HasLayout());
}

INSTANTIATE_TEST_SUITE_P(CheckedView, EitherBitness, testing::Values(ImageBits::bits32, ImageBits::bits64));

} // namespace
} // namespace keyreap
