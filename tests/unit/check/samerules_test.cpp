#include "tests/unit/check/checkedfacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::wstring_view key = L"[HKEY_CLASSES_ROOT\\A.B]";

std::vector<std::wstring> Differences(std::wstring_view here, std::wstring_view elsewhere) {
    CheckFacts facts;
    facts.same = SameFacts{{L"Z:\\bin\\server.dll", L"somebody", L"THISONE", DocumentOf({key, here})},
                           {L"Z:\\other\\server.dll", L"nobody", L"THATONE", DocumentOf({key, elsewhere})}};
    return Found(DocumentOf({key, here}), facts);
}

TEST(SameRules, TheServersOwnPathMayDiffer) {
    EXPECT_THAT(Differences(L"@=\"Z:\\\\bin\\\\server.dll,-101\"", L"@=\"Z:\\\\other\\\\server.dll,-101\""),
                IsEmpty());
    EXPECT_THAT(Differences(L"@=\"Z:\\\\bin\\\\x.ini\"", L"@=\"Z:\\\\other\\\\x.ini\""), IsEmpty());
}

TEST(SameRules, TheUsersNameIsNamed) {
    EXPECT_THAT(Differences(L"@=\"C:\\\\users\\\\somebody\\\\x\"", L"@=\"C:\\\\users\\\\nobody\\\\x\""),
                ElementsAre(L"C601 HKEY_CLASSES_ROOT\\A.B \"\""));
}

TEST(SameRules, TheComputersNameIsNamedInAnyCase) {
    EXPECT_THAT(Differences(L"@=\"\\\\\\\\thisone\\\\x\"", L"@=\"\\\\\\\\thatone\\\\x\""),
                ElementsAre(L"C601 HKEY_CLASSES_ROOT\\A.B \"\""));
}

TEST(SameRules, OtherDifferencesChangeFromCaptureToCapture) {
    EXPECT_THAT(Differences(L"@=\"12:00\"", L"@=\"12:01\""),
                ElementsAre(L"C602 HKEY_CLASSES_ROOT\\A.B \"\""));
    EXPECT_THAT(Differences(L"@=dword:00000001", L"@=dword:00000002"),
                ElementsAre(L"C602 HKEY_CLASSES_ROOT\\A.B \"\""));
}

TEST(SameRules, AValueOfOneCaptureAloneIsAnotherRule) {
    EXPECT_THAT(Differences(L"\"a\"=\"b\"", L"\"c\"=\"b\""),
                ElementsAre(L"C603 HKEY_CLASSES_ROOT\\A.B \"a\"", L"C603 HKEY_CLASSES_ROOT\\A.B \"c\""));
}

TEST(SameRules, TheServersPathMayBeTheNameOfAValue) {
    EXPECT_THAT(Differences(L"\"Z:\\\\bin\\\\server.dll\"=dword:00000001",
                            L"\"Z:\\\\other\\\\server.dll\"=dword:00000001"),
                IsEmpty());
}

} // namespace
} // namespace keyreap
