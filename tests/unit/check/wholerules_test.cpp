#include "tests/unit/check/checkedfacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

CheckFacts Registered(std::vector<KeyChange> changes, std::vector<KeyState> states, int bitness = 64) {
    CheckFacts facts;
    facts.bitness = bitness;
    facts.empty.emplace();
    facts.empty->changes = std::move(changes);
    facts.empty->states = std::move(states);
    return facts;
}

TEST(WholeRules, WhatBothHaveIsNoFinding) {
    EXPECT_THAT(
        Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"b\""}),
              Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\a", {NewValue(L"", L"b")})},
                         {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"b")}})})),
        IsEmpty());
}

TEST(WholeRules, AMissingValueIsNamedByItsOwnName) {
    EXPECT_THAT(Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"b\""}),
                      Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\a",
                                             {NewValue(L"", L"b"), NewValue(L"ThreadingModel", L"Both")})},
                                 {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"b")}})})),
                ElementsAre(L"C101 HKEY_LOCAL_MACHINE\\Software\\Classes\\a \"ThreadingModel\""));
}

TEST(WholeRules, OfMissingKeysTheTopmostIsNamed) {
    EXPECT_THAT(Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"b\""}),
                      Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\x"),
                                  CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\x\\y", {NewValue(L"", L"b")})},
                                 {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"b")}})})),
                ElementsAre(L"C101 HKEY_LOCAL_MACHINE\\Software\\x"));
}

TEST(WholeRules, AKeyAboveCapturedOnesIsImplied) {
    EXPECT_THAT(Found(DocumentOf({L"[HKEY_LOCAL_MACHINE\\Software\\x\\y]", L"@=\"b\""}),
                      Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\x")},
                                 {State(L"HKEY_LOCAL_MACHINE\\Software\\x\\y", {{L"", TextData(L"b")}})})),
                IsEmpty());
}

TEST(WholeRules, A32BitServersKeysAreBelowTheNode) {
    EXPECT_THAT(Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\CLSID\\a]", L"@=\"b\""}),
                      Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\Wow6432Node\\CLSID\\a",
                                             {NewValue(L"", L"b")})},
                                 {State(L"HKEY_CLASSES_ROOT\\CLSID\\a", {{L"", TextData(L"b")}})}, 32)),
                IsEmpty());
}

TEST(WholeRules, WhatIsNowhereAfterARegistrationIsBesides) {
    KeyState missing = State(L"HKEY_CLASSES_ROOT\\b");
    missing.isThere = false;
    EXPECT_THAT(
        Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"\"c\"=\"d\"", L"[HKEY_CLASSES_ROOT\\b]", L"@=\"b\""}),
              Registered({}, {State(L"HKEY_CLASSES_ROOT\\a"), missing})),
        ElementsAre(L"C102 HKEY_CLASSES_ROOT\\a \"c\"", L"C102 HKEY_CLASSES_ROOT\\b"));
}

TEST(WholeRules, OtherDataAreAFindingOnlyIfTheRegistrationSetThem) {
    const RegDocument capture = DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"b\""});
    const std::vector<KeyState> states = {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"other")}})};
    EXPECT_THAT(Found(capture, Registered({{L"HKEY_LOCAL_MACHINE\\Software\\Classes\\a",
                                            false,
                                            false,
                                            {{L"", TextData(L"old"), TextData(L"other")}}}},
                                          states)),
                ElementsAre(L"C103 HKEY_CLASSES_ROOT\\a \"\""));
    EXPECT_THAT(Found(capture, Registered({}, states)), IsEmpty());
}

TEST(WholeRules, AGuidIsMadeUpOnlyIfEachRegistrationHasAnother) {
    constexpr std::wstring_view captured = L"{B29A312E-EB83-43BC-A846-E0C0563B8877}";
    constexpr std::wstring_view one = L"{B29A312E-EB83-43BC-A846-E0C0563B8878}";
    constexpr std::wstring_view other = L"{B29A312E-EB83-43BC-A846-E0C0563B8879}";
    const RegDocument capture =
        DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"" + std::wstring(captured) + L'"'});
    const auto registered = [&](std::wstring_view guid) {
        return *Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\a", {NewValue(L"", guid)})},
                           {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(guid)}})})
                    .empty;
    };
    CheckFacts facts;
    facts.empty = registered(one);
    facts.full = registered(one);
    EXPECT_THAT(Found(capture, facts), ElementsAre(L"C103 HKEY_CLASSES_ROOT\\a \"\""));
    facts.full = registered(other);
    EXPECT_THAT(Found(capture, facts), IsEmpty());
}

TEST(WholeRules, WhatARegistrationTakesIsAFinding) {
    EXPECT_THAT(
        Found(
            DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"b\""}),
            Registered(
                {RemovedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini"),
                 {L"HKEY_LOCAL_MACHINE\\Software\\x", false, false, {{L"n", TextData(L"b"), std::nullopt}}}},
                {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"b")}})})),
        ElementsAre(L"C107 HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini",
                    L"C107 HKEY_LOCAL_MACHINE\\Software\\x \"n\""));
}

TEST(WholeRules, AFailingRegistrarIsTheOnlyFindingOfItsRegistry) {
    CheckFacts facts = Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\x")}, {});
    facts.empty->status = 5;
    EXPECT_THAT(Sentences(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]"}), facts),
                ElementsAre(L"the registrar of the system ended with 5 in a registry without classes"));
}

TEST(WholeRules, ClassesOfAUserAreNamedOncePerObject) {
    EXPECT_THAT(Found(DocumentOf({L"[HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\{a}]", L"@=\"b\"",
                                  L"[HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\{a}\\InprocServer32]",
                                  L"@=\"b\"", L"[HKEY_CURRENT_USER\\Software\\Classes\\A.B]", L"@=\"b\"",
                                  L"[HKEY_CURRENT_USER\\Software\\Mine]", L"@=\"b\""}),
                      CheckFacts()),
                ElementsAre(L"C105 HKEY_CURRENT_USER\\Software\\Classes\\A.B",
                            L"C105 HKEY_CURRENT_USER\\Software\\Classes\\CLSID\\{a}"));
}

TEST(WholeRules, ATraceMayLackAControlSetsKeyWithoutValues) {
    const CheckFacts facts =
        Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Control\\x")},
                   {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"b")}})});
    EXPECT_THAT(Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", L"@=\"b\""}), facts), IsEmpty());
}

TEST(WholeRules, AFillerIsFoundAndItsDataAreNotCompared) {
    const std::wstring filler = L"@=\"" + std::wstring(10, L'\x5555') + L'"';
    EXPECT_THAT(
        Found(DocumentOf({L"[HKEY_CLASSES_ROOT\\a]", filler}),
              Registered({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\a", {NewValue(L"", L"b")})},
                         {State(L"HKEY_CLASSES_ROOT\\a", {{L"", TextData(L"b")}})})),
        ElementsAre(L"C701 HKEY_CLASSES_ROOT\\a \"\""));
}

TEST(FindingsOf, ARuleThatIsLeftOutFindsNothing) {
    CheckFacts facts = Registered({}, {});
    facts.empty->status = 5;
    const Capture capture = {L"a.reg", DocumentOf({L"[HKEY_CLASSES_ROOT\\a]"})};
    const CheckInput input(capture, facts);
    const std::vector<std::string> without = {"C104"};
    EXPECT_THAT(FindingsOf(input, allParts, without), IsEmpty());
    EXPECT_THAT(FindingsOf(input, std::array{CheckPart::Clean}, {}), IsEmpty());
}

TEST(CheckRules, NumbersAreInOrderAndUnique) {
    const auto isLater = [](const CheckRule& left, const CheckRule& right) {
        return left.number >= right.number;
    };
    EXPECT_EQ(std::ranges::adjacent_find(CheckRules(), isLater), CheckRules().end());
}

} // namespace
} // namespace keyreap
