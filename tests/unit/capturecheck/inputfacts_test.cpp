#include "tests/support/imagebuilder.h"
#include "tools/capturecheck/inputfacts.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;

constexpr std::ptrdiff_t characteristicsField = 22;

InputFacts FactsOfText(std::string_view bytes) {
    return FactsOfBytes(std::as_bytes(std::span(bytes)));
}

TEST(InputFactsTest, KnowImagesOfBothBitnesses) {
    const InputFacts wide = FactsOfText(ImageBuilder().Exports({"A", "DllRegisterServer"}).Build().bytes);
    EXPECT_EQ(wide.kind, InputKind::image);
    EXPECT_TRUE(wide.Is64Bit());
    EXPECT_TRUE(wide.exportsRegistration);
    const InputFacts narrow =
        FactsOfText(ImageBuilder(ImageBits::bits32).Exports({"DllRegisterServer"}).Build().bytes);
    EXPECT_EQ(narrow.kind, InputKind::image);
    EXPECT_FALSE(narrow.Is64Bit());
    EXPECT_TRUE(narrow.exportsRegistration);
    EXPECT_TRUE(narrow.IsForThisHost());
}

TEST(InputFactsTest, TakeOnlyTheExactNameForTheExport) {
    EXPECT_FALSE(
        FactsOfText(ImageBuilder().Exports({"DllRegisterServerEx"}).Build().bytes).exportsRegistration);
    EXPECT_FALSE(
        FactsOfText(ImageBuilder().Exports({"dllregisterserver"}).Build().bytes).exportsRegistration);
    EXPECT_FALSE(FactsOfText(ImageBuilder().Build().bytes).exportsRegistration);
}

TEST(InputFactsTest, DistinguishLibrariesFromPrograms) {
    BuiltImage image = ImageBuilder().Build();
    image.Set<std::uint16_t>("nt", characteristicsField, 0x2002);
    EXPECT_TRUE(FactsOfText(image.bytes).isDll);
    image.Set<std::uint16_t>("nt", characteristicsField, 0x0002);
    EXPECT_FALSE(FactsOfText(image.bytes).isDll);
}

TEST(InputFactsTest, AProgramIsWhatIsNoServerAndNoTypeLibrary) {
    BuiltImage image = ImageBuilder().Build();
    image.Set<std::uint16_t>("nt", characteristicsField, 0x2002);
    EXPECT_FALSE(FactsOfText(image.bytes).MayBeProgram());
    image.Set<std::uint16_t>("nt", characteristicsField, 0x0002);
    EXPECT_TRUE(FactsOfText(image.bytes).MayBeProgram());
    BuiltImage server = ImageBuilder().Exports({"DllRegisterServer"}).Build();
    server.Set<std::uint16_t>("nt", characteristicsField, 0x0002);
    EXPECT_FALSE(FactsOfText(server.bytes).MayBeProgram());
    EXPECT_FALSE(FactsOfText("MSFT\x01").MayBeProgram());
    EXPECT_TRUE(FactsOfText("MZ of another system").MayBeProgram());
    EXPECT_FALSE(InputFacts().MayBeProgram());
}

TEST(InputFactsTest, KnowMachinesThatTheHostDoesNotRun) {
    const InputFacts facts = FactsOfText(ImageBuilder().Machine(0xAA64).Build().bytes);
    EXPECT_FALSE(facts.IsForThisHost());
    EXPECT_EQ(MachineName(facts.machine), "ARM64");
    EXPECT_EQ(MachineName(0x0166), "machine type 0x0166");
    EXPECT_TRUE(FactsOfText(ImageBuilder().Machine(0x0200).Build().bytes).Is64Bit());
}

TEST(InputFactsTest, HoldForEachBeginningOfAnImage) {
    const std::string whole = ImageBuilder().Exports({"DllRegisterServer"}).Build().bytes;
    for (std::size_t length = 0; length < whole.size(); ++length) {
        const std::string cut = whole.substr(0, length);
        const InputFacts facts = FactsOfText(cut);
        EXPECT_TRUE(facts.kind == InputKind::image || facts.kind == InputKind::other);
    }
}

TEST(InputFactsTest, KnowATypeLibraryByMoreThanItsMagic) {
    EXPECT_EQ(FactsOfText("MSFT").kind, InputKind::other);
    EXPECT_EQ(FactsOfText("MSFT\x02").kind, InputKind::typeLibrary);
    EXPECT_EQ(FactsOfText("").kind, InputKind::other);
}

TEST(NameEndsWithTest, TakesLettersOfEitherCase) {
    EXPECT_TRUE(NameEndsWith("x.BAT", ".bat"));
    EXPECT_FALSE(NameEndsWith("bat", ".bat"));
}

} // namespace
} // namespace keyreap
