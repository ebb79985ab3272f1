// Every golden file of the whole program is written as it was read.
#include "tests/unit/regmodel/goldenfiles.h"
#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

TEST(RoundTrip, EveryGoldenFileGetsItsBytesAgain) {
    const std::vector<std::filesystem::path> files = GoldenFiles();
    EXPECT_FALSE(files.empty());
    for (const std::filesystem::path& file : files) {
        const Bytes bytes = ContentOf(file);
        EXPECT_TRUE(WriteRegDocument(ReadBytes(bytes)) == bytes) << file;
    }
}

TEST(RoundTrip, NoGoldenFileIsAmbiguous) {
    for (const std::filesystem::path& file : GoldenFiles()) {
        EXPECT_TRUE(ReadBytes(ContentOf(file)).ambiguities.empty()) << file;
    }
}

TEST(RoundTrip, ExactlyTheFilesOfATraceAreNoHarvests) {
    for (const std::filesystem::path& file : GoldenFiles()) {
        const bool isTraced = file.filename().string().find("-traced") != std::string::npos;
        EXPECT_EQ(ReadBytes(ContentOf(file)).isHarvest, !isTraced) << file;
    }
}

} // namespace
} // namespace keyreap::testsupport
