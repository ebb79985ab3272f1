#include "kit/batch/foundserver.h"
#include "tests/support/imagebuilder.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ImageBits;
using testsupport::ImageBuilder;

constexpr std::ptrdiff_t characteristicsField = 22;

FoundServer FoundIn(std::string_view bytes) {
    return FoundServerIn(std::as_bytes(std::span(bytes)));
}

FoundServer FoundInProgram(BuiltImage image) {
    image.Set<std::uint16_t>("nt", characteristicsField, 0x0022);
    return FoundIn(image.bytes);
}

TEST(FoundServerTest, ALibraryIsAServerByItsExport) {
    for (const ImageBits bits : {ImageBits::bits32, ImageBits::bits64}) {
        EXPECT_EQ(FoundIn(ImageBuilder(bits).Exports({"DllRegisterServer"}).Build().bytes), FoundServer::Yes);
        EXPECT_EQ(FoundIn(ImageBuilder(bits).Exports({"DllRegister"}).Build().bytes), FoundServer::No);
        EXPECT_EQ(FoundIn(ImageBuilder(bits).Build().bytes), FoundServer::No);
    }
}

TEST(FoundServerTest, ATypeLibraryInALibraryIsTheLibrarysOwn) {
    EXPECT_EQ(FoundIn(ImageBuilder().TypeLibraries({1}).Build().bytes), FoundServer::No);
}

TEST(FoundServerTest, AProgramIsAServerByItsTypeLibraryOrItsExport) {
    EXPECT_EQ(FoundInProgram(ImageBuilder().TypeLibraries({1}).Build()), FoundServer::Yes);
    EXPECT_EQ(FoundInProgram(ImageBuilder().Exports({"DllRegisterServer"}).Build()), FoundServer::Yes);
}

TEST(FoundServerTest, NothingSaysWhatAnotherProgramIs) {
    EXPECT_EQ(FoundInProgram(ImageBuilder().Build()), FoundServer::Program);
}

TEST(FoundServerTest, AnImageForAnotherMachineIsNoServer) {
    constexpr std::uint16_t machineArm64 = 0xAA64;
    EXPECT_EQ(FoundIn(ImageBuilder().Exports({"DllRegisterServer"}).Machine(machineArm64).Build().bytes),
              FoundServer::No);
    EXPECT_EQ(FoundInProgram(ImageBuilder().Machine(machineArm64).Build()), FoundServer::No);
}

TEST(FoundServerTest, AFileOfATypeLibraryIsLongerThanItsMagicNumber) {
    EXPECT_EQ(FoundIn("MSFT!"), FoundServer::Yes);
    EXPECT_EQ(FoundIn("MSFT"), FoundServer::No);
    EXPECT_EQ(FoundIn("MZ"), FoundServer::No);
    EXPECT_EQ(FoundIn(""), FoundServer::No);
}

} // namespace
} // namespace keyreap
