#include "pe/versionresource.h"
#include "tests/support/exactfile.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/mutation.h"
#include "tests/support/versionresource.h"

#include <gtest/gtest.h>

#include <array>

namespace keyreap {
namespace {

using testsupport::BuiltImage;
using testsupport::ExactFile;
using testsupport::ImageBuilder;
using testsupport::VersionResource;

// The places of the parts in the built directory.
constexpr std::ptrdiff_t typeEntry = 16;
constexpr std::ptrdiff_t nameDirectory = 24;
constexpr std::ptrdiff_t nameEntry = 40;
constexpr std::ptrdiff_t languageDirectory = 48;
constexpr std::ptrdiff_t languageEntry = 64;
constexpr std::ptrdiff_t dataEntry = 72;
constexpr std::ptrdiff_t data = 88;

constexpr std::uint32_t rvaInHeaders = 0x40;

class VersionResourceCheck : public testing::Test {
protected:
    bool Holds() const { return Holds(image.bytes); }

    static bool Holds(std::string_view bytes) {
        const ExactFile file(bytes);
        return HoldsVersionResource(file.View());
    }

    std::string resource = VersionResource::Of(u"Own");
    BuiltImage image = ImageBuilder().Imports({"a.dll"}).Version(resource).Build();
};

TEST_F(VersionResourceCheck, FindsAResourceInsideTheFile) {
    EXPECT_TRUE(Holds());
}

TEST_F(VersionResourceCheck, ImageWithoutResourcesHoldsNone) {
    EXPECT_FALSE(Holds(ImageBuilder().Imports({"a.dll"}).Build().bytes));
}

TEST_F(VersionResourceCheck, DataEndsWithTheFile) {
    const std::size_t end = image.At("resources") + static_cast<std::size_t>(data) + resource.size();
    EXPECT_TRUE(Holds(std::string_view(image.bytes).substr(0, end)));
    EXPECT_FALSE(Holds(std::string_view(image.bytes).substr(0, end - 1)));
}

TEST_F(VersionResourceCheck, EveryCutOfTheDirectoryLeavesNoResource) {
    const std::size_t start = image.At("resources");
    for (std::size_t size = start; size < start + static_cast<std::size_t>(data); ++size) {
        EXPECT_FALSE(Holds(std::string_view(image.bytes).substr(0, size))) << size - start;
    }
}

TEST_F(VersionResourceCheck, OtherTypesAndNamesAreNoVersionResource) {
    BuiltImage other = image;
    other.Set<std::uint32_t>("resources", typeEntry, 10);
    EXPECT_FALSE(Holds(other.bytes));
    other = image;
    other.Set<std::uint32_t>("resources", nameEntry, 2);
    EXPECT_FALSE(Holds(other.bytes));
}

TEST_F(VersionResourceCheck, TypeWithoutNamesAndNameWithoutLanguagesAreInvalid) {
    BuiltImage other = image;
    other.Set<std::uint16_t>("resources", nameDirectory + 14, 0);
    EXPECT_FALSE(Holds(other.bytes));
    other = image;
    other.Set<std::uint16_t>("resources", languageDirectory + 14, 0);
    EXPECT_FALSE(Holds(other.bytes));
}

TEST_F(VersionResourceCheck, FalseCountsLeaveNoResource) {
    for (const std::ptrdiff_t directory : {std::ptrdiff_t{0}, nameDirectory, languageDirectory}) {
        for (const std::ptrdiff_t count : {12, 14}) {
            BuiltImage other = image;
            other.Set<std::uint16_t>("resources", directory + count, 0xFFFF);
            EXPECT_FALSE(Holds(other.bytes)) << directory << ' ' << count;
        }
    }
}

TEST_F(VersionResourceCheck, TargetsOutsideTheFileAreInvalid) {
    for (const std::ptrdiff_t entry : {typeEntry, nameEntry, languageEntry}) {
        for (const std::uint32_t target : {0x7FFFFFFFU, 0xFFFFFFFFU, 0x80100000U}) {
            BuiltImage other = image;
            other.Set("resources", entry + 4, target);
            EXPECT_FALSE(Holds(other.bytes)) << entry << ' ' << target;
        }
    }
}

TEST_F(VersionResourceCheck, LevelsOfTheWrongKindAreInvalid) {
    BuiltImage other = image;
    other.Set<std::uint32_t>("resources", typeEntry + 4, nameDirectory);
    EXPECT_FALSE(Holds(other.bytes));
    other = image;
    other.Set<std::uint32_t>("resources", languageEntry + 4, 0x80000000U | dataEntry);
    EXPECT_FALSE(Holds(other.bytes));
}

TEST_F(VersionResourceCheck, DataOutsideTheFileIsInvalid) {
    BuiltImage other = image;
    other.Set<std::uint32_t>("resources", dataEntry, 0xFFFFFFF0);
    EXPECT_FALSE(Holds(other.bytes));
    other.Set<std::uint32_t>("resources", dataEntry + 4, 0);
    EXPECT_FALSE(Holds(other.bytes));
    other = image;
    other.Set<std::uint32_t>("resources", dataEntry + 4, 0xFFFFFFFF);
    EXPECT_FALSE(Holds(other.bytes));
}

TEST_F(VersionResourceCheck, SecondEntryOfTheSameTypeIsInvalid) {
    // The second entry takes the first bytes of the name level, which nothing reads, and has the same target
    // as the first.
    image.Set<std::uint32_t>("resources", typeEntry + 8 + 4, 0x80000000U | nameDirectory);
    image.Set<std::uint16_t>("resources", 14, 2);
    image.Set<std::uint32_t>("resources", typeEntry + 8, 10);
    EXPECT_TRUE(Holds()) << "one of another type leads there too";
    image.Set<std::uint32_t>("resources", typeEntry + 8, 16);
    EXPECT_FALSE(Holds());
}

TEST_F(VersionResourceCheck, SecondEntryOfTheSameNameIsInvalid) {
    image.Set<std::uint32_t>("resources", nameEntry + 8 + 4, 0x80000000U | languageDirectory);
    image.Set<std::uint16_t>("resources", nameDirectory + 14, 2);
    image.Set<std::uint32_t>("resources", nameEntry + 8, 2);
    EXPECT_TRUE(Holds()) << "one of another name leads there too";
    image.Set<std::uint32_t>("resources", nameEntry + 8, 1);
    EXPECT_FALSE(Holds());
}

TEST_F(VersionResourceCheck, DataOfEveryLanguageIsLookedAt) {
    // The entry of the second language takes the place of the data entry. The data entries of both languages
    // take the place of the data, which nothing reads.
    const std::ptrdiff_t secondLanguage = languageEntry + 8;
    const std::array<std::ptrdiff_t, 2> dataEntries = {data, data + 16};
    image.Set<std::uint16_t>("resources", languageDirectory + 14, 2);
    image.Set("resources", languageEntry + 4, static_cast<std::uint32_t>(dataEntries[0]));
    image.Set<std::uint32_t>("resources", secondLanguage, 0x0407);
    image.Set("resources", secondLanguage + 4, static_cast<std::uint32_t>(dataEntries[1]));
    for (const std::ptrdiff_t entry : dataEntries) {
        image.Set<std::uint32_t>("resources", entry, rvaInHeaders);
        image.Set<std::uint32_t>("resources", entry + 4, 1);
    }
    EXPECT_TRUE(Holds());
    for (const std::ptrdiff_t entry : dataEntries) {
        BuiltImage other = image;
        other.Set<std::uint32_t>("resources", entry + 4, 0xFFFFFFFF);
        EXPECT_FALSE(Holds(other.bytes)) << entry;
    }
}

TEST_F(VersionResourceCheck, AddressZeroIsNoDirectoryThoughTheHeadersLookLikeOne) {
    const auto putDirectory = [this](std::ptrdiff_t place, std::uint32_t id, std::uint32_t target) {
        image.Set<std::uint32_t>("dos", place + 12, 0x00010000);
        image.Set("dos", place + 16, id);
        image.Set("dos", place + 20, target);
    };
    putDirectory(0, 16, 0x80000300);
    putDirectory(0x300, 1, 0x80000320);
    putDirectory(0x320, 0x0409, 0x340);
    image.Set<std::uint32_t>("dos", 0x340, rvaInHeaders);
    image.Set<std::uint32_t>("dos", 0x344, 1);
    image.Set<std::uint32_t>("directories", 2 * 8, 0);
    EXPECT_FALSE(Holds());
}

TEST_F(VersionResourceCheck, DamagedDirectoriesAreReadWithinTheirBytes) {
    std::size_t held = 0;
    for (std::uint32_t seed = 0; seed < 20000; ++seed) {
        held += Holds(testsupport::Mutated(image, seed)) ? 1U : 0U;
    }
    EXPECT_GT(held, 5000U);
    EXPECT_LT(held, 20000U);
}

} // namespace
} // namespace keyreap
