#include "pe/imageheaders.h"
#include "tests/support/imagebuilder.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;

constexpr std::ptrdiff_t signatureField = 0;
constexpr std::ptrdiff_t characteristicsField = 22;
constexpr std::ptrdiff_t subsystemField = 68;

ImageHeaders HeadersOf(std::string_view bytes) {
    return ImageHeaders(std::as_bytes(std::span(bytes)));
}

TEST(ImageHeadersTest, AnImageHasBothSignatures) {
    BuiltImage image = ImageBuilder().Build();
    EXPECT_TRUE(HeadersOf(image.bytes).AreThere());
    image.Set<std::uint32_t>("nt", signatureField, 0x00014550);
    EXPECT_FALSE(HeadersOf(image.bytes).AreThere());
    EXPECT_FALSE(HeadersOf("").AreThere());
    EXPECT_FALSE(HeadersOf("MZ").AreThere());
}

TEST(ImageHeadersTest, TheMachineDecidesTheBitness) {
    const auto machineIs64Bit = [](std::uint16_t machine) {
        const BuiltImage image = ImageBuilder().Machine(machine).Build();
        return HeadersOf(image.bytes).Is64Bit();
    };
    EXPECT_TRUE(machineIs64Bit(0x8664));
    EXPECT_TRUE(machineIs64Bit(0x0200));
    EXPECT_FALSE(machineIs64Bit(0x014C));
    EXPECT_FALSE(machineIs64Bit(0xAA64)) << "as in PeImage";
}

TEST(ImageHeadersTest, FieldsAreThoseOfTheFile) {
    BuiltImage image = ImageBuilder(ImageBits::bits32).Build();
    EXPECT_EQ(HeadersOf(image.bytes).Machine(), 0x014C);
    image.Set<std::uint16_t>("nt", characteristicsField, 0x2002);
    EXPECT_TRUE(HeadersOf(image.bytes).IsDll());
    image.Set<std::uint16_t>("nt", characteristicsField, 0x0002);
    EXPECT_FALSE(HeadersOf(image.bytes).IsDll());
    image.Set<std::uint16_t>("optional", subsystemField, 2);
    EXPECT_EQ(HeadersOf(image.bytes).Subsystem(), 2);
}

TEST(ImageHeadersTest, AFieldOutsideTheFileIsZero) {
    const BuiltImage image = ImageBuilder().Build();
    const std::string_view bytes = image.bytes;
    EXPECT_EQ(HeadersOf(bytes.substr(0, image.At("optional") + subsystemField + 2)).Subsystem(), 3);
    EXPECT_EQ(HeadersOf(bytes.substr(0, image.At("optional") + subsystemField + 1)).Subsystem(), 0);
    EXPECT_EQ(HeadersOf("no image").Machine(), 0);
    EXPECT_EQ(HeadersOf("no image").Subsystem(), 0);
    EXPECT_FALSE(HeadersOf("no image").IsDll());
}

class ImageHeadersOfBothForms : public testing::TestWithParam<ImageBits> {};

TEST_P(ImageHeadersOfBothForms, AnExportIsFoundByItsExactName) {
    const BuiltImage image = ImageBuilder(GetParam()).Exports({"A", "DllRegisterServer"}, 2).Build();
    EXPECT_TRUE(HeadersOf(image.bytes).Exports("DllRegisterServer"));
    EXPECT_FALSE(HeadersOf(image.bytes).Exports("DllRegister"));
    EXPECT_FALSE(HeadersOf(image.bytes).Exports("dllregisterserver"));
    EXPECT_FALSE(HeadersOf(ImageBuilder(GetParam()).Build().bytes).Exports("A"));
}

TEST_P(ImageHeadersOfBothForms, TypeLibrariesHaveTheirNumbers) {
    const BuiltImage image =
        ImageBuilder(GetParam()).Exports({"DllRegisterServer"}).TypeLibraries({1, 7}).Build();
    EXPECT_THAT(HeadersOf(image.bytes).TypeLibraries(), ElementsAre(1, 7));
}

INSTANTIATE_TEST_SUITE_P(Forms, ImageHeadersOfBothForms,
                         testing::Values(ImageBits::bits32, ImageBits::bits64));

TEST_P(ImageHeadersOfBothForms, LibrariesAreThoseOfBothTables) {
    EXPECT_THAT(HeadersOf(ImageBuilder(GetParam()).Build().bytes).Libraries(), IsEmpty());
    const BuiltImage image = ImageBuilder(GetParam()).Imports({"a.dll", "b"}).DelayImports({"c.dll"}).Build();
    EXPECT_THAT(HeadersOf(image.bytes).Libraries(), ElementsAre("a.dll", "b", "c.dll"));
    EXPECT_THAT(HeadersOf("MZ").Libraries(), IsEmpty());
}

TEST(ImageHeadersTest, OtherResourcesAreNoTypeLibraries) {
    EXPECT_THAT(HeadersOf(ImageBuilder().Version("data").Build().bytes).TypeLibraries(), IsEmpty());
    BuiltImage image = ImageBuilder().TypeLibraries({1}).Build();
    const std::size_t letter = image.bytes.find('Y', image.At("resources"));
    image.bytes[letter] = 'y';
    EXPECT_THAT(HeadersOf(image.bytes).TypeLibraries(), ElementsAre(1)) << "the letters' case is free";
    image.bytes[letter] = 'Z';
    EXPECT_THAT(HeadersOf(image.bytes).TypeLibraries(), IsEmpty());
}

TEST(ImageHeadersTest, AManifestIsAResourceOfTheType24) {
    BuiltImage image = ImageBuilder().Version("data").Build();
    EXPECT_FALSE(HeadersOf(image.bytes).HasManifest());
    constexpr std::size_t directoryHeader = 16;
    image.bytes[image.At("resources") + directoryHeader] = 24;
    EXPECT_TRUE(HeadersOf(image.bytes).HasManifest());
    EXPECT_FALSE(HeadersOf(ImageBuilder().Build().bytes).HasManifest());
    EXPECT_FALSE(HeadersOf("MZ").HasManifest());
}

TEST(ImageHeadersTest, ATypeLibraryOutsideTheFileDoesNotCount) {
    const BuiltImage image = ImageBuilder().TypeLibraries({1}).Build();
    const std::size_t data = image.bytes.find("MSFT");
    const std::string_view bytes = image.bytes;
    EXPECT_THAT(HeadersOf(bytes.substr(0, image.At("resourcesEnd"))).TypeLibraries(), ElementsAre(1));
    EXPECT_THAT(HeadersOf(bytes.substr(0, data + 3)).TypeLibraries(), IsEmpty());
}

TEST(ImageHeadersTest, EveryBeginningOfAnImageIsRead) {
    const BuiltImage image = ImageBuilder().Exports({"DllRegisterServer"}).TypeLibraries({1, 2}).Build();
    for (std::size_t size = 0; size < image.bytes.size(); ++size) {
        const std::string cut = image.bytes.substr(0, size);
        const ImageHeaders headers = HeadersOf(cut);
        headers.Exports("DllRegisterServer");
        EXPECT_LE(headers.TypeLibraries().size(), 2U);
    }
}

} // namespace
} // namespace keyreap
