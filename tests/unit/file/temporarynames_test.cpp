#include "platform/os/file/temporarynames.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <vector>

namespace keyreap {
namespace {

using testing::ElementsAre;

TEST(ReplaceExtension, CutsAtTheLastDot) {
    EXPECT_EQ(ReplaceExtension(L"C:\\temp\\tlb1A2B.tmp", L"tlb"), L"C:\\temp\\tlb1A2B.tlb");
}

TEST(ReplaceExtension, StopsAtABackslash) {
    EXPECT_EQ(ReplaceExtension(L"C:\\a.b\\file", L"tlb"), L"C:\\a.b\\file.tlb");
}

TEST(ReplaceExtension, OfAnEmptyNameIsTheExtensionAlone) {
    EXPECT_EQ(ReplaceExtension(L"", L"tlb"), L".tlb");
}

TEST(ShortPrefix, HasAtMostThreeCharacters) {
    EXPECT_EQ(ShortPrefix(L"shim_clone"), L"shi");
    EXPECT_EQ(ShortPrefix(L"tl"), L"tl");
}

TEST(TemporaryNumber, IsReadAsHexadecimalAfterTheShortPrefix) {
    EXPECT_EQ(TemporaryNumber(WidePath(L"C:\\temp\\tlb1a2B.tlb"), L"tlb"), 0x1A2BU);
    EXPECT_EQ(TemporaryNumber(WidePath(L"C:\\temp\\shiFF.tlb"), L"shim_clone"), 0xFFU);
}

TEST(TemporaryNumber, EndsAtTheFirstCharacterThatIsNoDigit) {
    EXPECT_EQ(TemporaryNumber(WidePath(L"tlb1g2.tlb"), L"tlb"), 1U);
    EXPECT_EQ(TemporaryNumber(WidePath(L"tlb.tlb"), L"tlb"), 0U);
    EXPECT_EQ(TemporaryNumber(WidePath(L""), L"tlb"), 0U);
}

// Runs the search against a set of taken names and records the paths that it asks for.
struct Search {
    explicit Search(std::vector<std::wstring> takenNames) : taken(std::move(takenNames)) {}

    std::wstring Run(const wchar_t* first, const wchar_t* extension) {
        const auto exists = [this](const WidePath& path) {
            asked.push_back(path.Text());
            return std::find(taken.begin(), taken.end(), path.Text()) != taken.end();
        };
        return NextFreeName(WidePath(first), WidePath(L"C:\\temp"), L"tlbrary", extension, exists).Text();
    }

    std::vector<std::wstring> taken;
    std::vector<std::wstring> asked;
};

TEST(NextFreeName, CountsUpByOneInTheSameDirectory) {
    Search search({});
    EXPECT_EQ(search.Run(L"C:\\temp\\tlb1A2.tlb", L"tlb"), L"C:\\temp\\tlb1a3.tlb");
}

TEST(NextFreeName, WritesTheNumberInLowerCaseWithoutLeadingZeros) {
    Search search({});
    EXPECT_EQ(search.Run(L"C:\\temp\\tlb000F.tlb", L"tlb"), L"C:\\temp\\tlb10.tlb");
    EXPECT_EQ(search.Run(L"C:\\temp\\tlbABCD.tlb", L"tlb"), L"C:\\temp\\tlbabce.tlb");
}

TEST(NextFreeName, SecondTryIsBelowTheFirstWithoutItsExtension) {
    Search search({L"C:\\temp\\tlb1a3.tlb"});
    EXPECT_EQ(search.Run(L"C:\\temp\\tlb1A2.tlb", L"tlb"), L"C:\\temp\\tlb1a3\\tlb1a4.tlb");
    EXPECT_THAT(search.asked, ElementsAre(L"C:\\temp\\tlb1a3.tlb", L"C:\\temp\\tlb1a3\\tlb1a4.tlb"));
}

TEST(NextFreeName, EmptyExtensionAddsNoDot) {
    Search search({});
    EXPECT_EQ(search.Run(L"C:\\temp\\tlb1A2", L""), L"C:\\temp\\tlb1a3");
}

TEST(NextFreeName, NumberWrapsAtThirtyTwoBits) {
    Search search({});
    EXPECT_EQ(search.Run(L"C:\\temp\\tlbFFFFFFFF.tlb", L"tlb"), L"C:\\temp\\tlb0.tlb");
}

} // namespace
} // namespace keyreap
