#include "kit/capture/noise.h"
#include "tests/unit/capture/capturelines.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::DocumentOf;

constexpr std::wstring_view own = L"[HKEY_CLASSES_ROOT\\Own]";
constexpr std::wstring_view noisy = L"[HKEY_CURRENT_USER\\Software\\Noisy]";
const std::wstring noisyKey = L"HKEY_CURRENT_USER\\Software\\Noisy";

TEST(Noise, ACaptureWithoutAnyStaysAsItIs) {
    const RegDocument document = DocumentOf({own, L"@=\"x\"", noisy, L"\"a\"=\"1\""});
    EXPECT_EQ(WithoutNoise(document, {}), document);
}

TEST(Noise, AValueGoesAndItsKeyStays) {
    const std::vector<NoiseEntry> noise = {{noisyKey, L"a"}};
    const RegDocument document = DocumentOf({own, L"\"a\"=\"x\"", noisy, L"\"a\"=\"1\""});
    EXPECT_EQ(WithoutNoise(document, noise), DocumentOf({own, L"\"a\"=\"x\"", noisy}));
}

TEST(Noise, TheDefaultValueHasNoName) {
    const std::vector<NoiseEntry> noise = {{noisyKey, L""}};
    const RegDocument document = DocumentOf({noisy, L"@=\"x\"", L"\"a\"=\"1\""});
    EXPECT_EQ(WithoutNoise(document, noise), DocumentOf({noisy, L"\"a\"=\"1\""}));
}

TEST(Noise, AKeyGoesWithItsLastValue) {
    const std::vector<NoiseEntry> noise = {{noisyKey, std::nullopt}, {noisyKey, L"a"}};
    const RegDocument document = DocumentOf({own, L"@=\"x\"", noisy, L"\"a\"=\"1\""});
    EXPECT_EQ(WithoutNoise(document, noise), DocumentOf({own, L"@=\"x\""}));
}

TEST(Noise, AKeyWithAValueOfTheServerStays) {
    const std::vector<NoiseEntry> noise = {{noisyKey, std::nullopt}, {noisyKey, L"a"}};
    const RegDocument document = DocumentOf({noisy, L"\"a\"=\"1\"", L"\"b\"=\"2\""});
    EXPECT_EQ(WithoutNoise(document, noise), DocumentOf({noisy, L"\"b\"=\"2\""}));
}

TEST(Noise, WhatIsBelowAKeyStays) {
    const std::vector<NoiseEntry> noise = {{noisyKey, std::nullopt}};
    const RegDocument document = DocumentOf({noisy, L"[HKEY_CURRENT_USER\\Software\\Noisy\\Below]"});
    EXPECT_EQ(WithoutNoise(document, noise), DocumentOf({L"[HKEY_CURRENT_USER\\Software\\Noisy\\Below]"}));
}

TEST(Noise, AllSectionsOfAKeyAreMeant) {
    const std::vector<NoiseEntry> noise = {{noisyKey, std::nullopt}, {noisyKey, L"a"}};
    const RegDocument document = DocumentOf({noisy, L"\"a\"=\"1\"", own, noisy, L"\"a\"=\"2\""});
    EXPECT_EQ(WithoutNoise(document, noise), DocumentOf({own}));
}

TEST(Noise, NamesAreComparedInAnyCase) {
    const std::vector<NoiseEntry> noise = {{L"hkey_current_user\\SOFTWARE\\noisy", L"A"}};
    EXPECT_EQ(WithoutNoise(DocumentOf({noisy, L"\"a\"=\"1\""}), noise), DocumentOf({noisy}));
    EXPECT_TRUE(EntriesNotIn(DocumentOf({noisy, L"\"a\"=\"1\""}), noise).empty());
}

TEST(Noise, DeletionsStay) {
    const std::vector<NoiseEntry> noise = {{noisyKey, std::nullopt}, {noisyKey, L"a"}};
    const RegDocument document = DocumentOf({noisy, L"\"a\"=-", L"[-HKEY_CURRENT_USER\\Software\\Noisy]"});
    EXPECT_EQ(WithoutNoise(document, noise), document);
}

TEST(Noise, WhatADocumentDoesntSetIsMissing) {
    const std::vector<NoiseEntry> noise = {{noisyKey, std::nullopt}, {noisyKey, L""}, {noisyKey, L"a"}};
    EXPECT_EQ(EntriesNotIn(DocumentOf({own, L"@=\"x\""}), noise), noise);
    EXPECT_EQ(EntriesNotIn(DocumentOf({noisy, L"\"a\"=-"}), noise),
              std::vector<NoiseEntry>(noise.begin() + 1, noise.end()));
    EXPECT_EQ(EntriesNotIn(DocumentOf({noisy, L"@=\"x\""}), noise), std::vector<NoiseEntry>{noise[2]});
    EXPECT_TRUE(EntriesNotIn(DocumentOf({noisy, L"@=\"x\"", L"\"a\"=\"1\""}), noise).empty());
}

} // namespace
} // namespace keyreap
