#include "tests/unit/check/checkedfacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr std::uint32_t fails = 0x80004005;

const RegDocument& Empty() {
    static const RegDocument document = DocumentOf({L"[HKEY_CLASSES_ROOT\\a]"});
    return document;
}

CheckFacts Reported(std::uint32_t redirected, std::uint32_t outside) {
    CheckFacts facts;
    facts.result.emplace();
    facts.result->redirected = redirected;
    facts.result->outside = outside;
    return facts;
}

TEST(ResultRules, SuccessInBothWaysIsNoFinding) {
    EXPECT_THAT(Found(Empty(), Reported(0, 0)), IsEmpty());
    EXPECT_THAT(Found(Empty(), Reported(1, 0)), IsEmpty());
}

TEST(ResultRules, HalfARegistrationNamesTheKeyThatWasLookedFor) {
    CheckFacts facts = Reported(fails, 0);
    facts.result->lookedFor = {L"open key HKEY_LOCAL_MACHINE\\x", L"open key HKEY_LOCAL_MACHINE\\y"};
    EXPECT_THAT(Found(Empty(), facts), ElementsAre(L"C201"));
    EXPECT_THAT(
        Sentences(Empty(), facts),
        ElementsAre(L"DllRegisterServer gives 0x80004005 (E_FAIL) while the roots are redirected, and "
                    L"0x00000000 (S_OK) in a full registry: the capture has a part of a registration; what "
                    L"it looked for last and didn't find there is open key HKEY_LOCAL_MACHINE\\y"));
}

TEST(ResultRules, FailureInBothWaysNamesTheMissingDependency) {
    CheckFacts facts = Reported(fails, fails);
    facts.result->dependencies = {
        {L"kernel32.dll", L"C:\\windows\\system32\\kernel32.dll", 64, false, L"a.dll"},
        {L"absent.dll", L"", 0, true, L"a.dll"}};
    EXPECT_THAT(Found(Empty(), facts), ElementsAre(L"C202", L"C204"));
    EXPECT_EQ(Sentences(Empty(), facts).back(), L"absent.dll is nowhere; a.dll loads it at the first call");
}

TEST(ResultRules, WithoutAWrongDependencyTheCauseIsUnknown) {
    EXPECT_EQ(Sentences(Empty(), Reported(fails, fails)).front().find(L"the cause is unknown") !=
                  std::wstring::npos,
              true);
}

TEST(ResultRules, ADependencyOfTheOtherBitnessIsNamedWithIts) {
    CheckFacts facts = Reported(fails, fails);
    facts.result->dependencies = {{L"helper.dll", L"Z:\\helper.dll", 32, false, L"a.dll"}};
    EXPECT_THAT(Found(Empty(), facts), ElementsAre(L"C202", L"C205"));
    EXPECT_EQ(Sentences(Empty(), facts).back(),
              L"Z:\\helper.dll is a 32-bit file, and the server is of 64 bits; a.dll is linked to it");
}

TEST(ResultRules, DependenciesOfAServerThatSucceedsAreNoFindings) {
    CheckFacts facts = Reported(0, 0);
    facts.result->dependencies = {{L"absent.dll", L"", 0, true, L"a.dll"}};
    EXPECT_THAT(Found(Empty(), facts), IsEmpty());
}

TEST(ResultRules, FailureOutsideAloneIsAnotherRule) {
    EXPECT_THAT(Found(Empty(), Reported(0, fails)), ElementsAre(L"C203"));
}

TEST(ResultRules, ACallThatEndsTheProcessIsAFailureToo) {
    CheckFacts facts = Reported(0, 0);
    facts.result->redirected = CallOutcome();
    EXPECT_THAT(Found(Empty(), facts), ElementsAre(L"C201"));
    EXPECT_EQ(Sentences(Empty(), facts)
                  .front()
                  .find(L"DllRegisterServer ends the process while the roots are redirected, and "
                        L"gives 0x00000000 (S_OK) in a full registry"),
              0U);
}

TEST(ResultRules, WhatIsWrittenPastTheCaptureIsNamedByWhenItIs) {
    CheckFacts facts = Reported(0, 0);
    facts.result->past = {CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\x", {NewValue(L"n", L"b")}),
                          CreatedKey(L"HKEY_CURRENT_USER\\Software\\Velmoro\\Tesselink")};
    facts.result->pastAndLater = facts.result->past;
    facts.result->pastAndLater.push_back(CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\y"));
    EXPECT_THAT(Found(Empty(), facts), ElementsAre(L"C206 HKEY_LOCAL_MACHINE\\Software\\x \"n\"",
                                                   L"C207 HKEY_LOCAL_MACHINE\\Software\\y"));
}

TEST(WorksRules, AClassIsOfOneRuleByWhatRegistrationMakesOfIt) {
    CheckFacts facts;
    facts.classes = {{L"{a}", 0, 0},
                     {L"{b}", 0x80040154, 0},
                     {L"{c}", 0x80040111, 0x80040111},
                     {L"{d}", std::nullopt, 0x80040111}};
    EXPECT_THAT(Found(Empty(), facts),
                ElementsAre(L"C301 HKEY_CLASSES_ROOT\\CLSID\\{b}", L"C302 HKEY_CLASSES_ROOT\\CLSID\\{c}",
                            L"C302 HKEY_CLASSES_ROOT\\CLSID\\{d}"));
    EXPECT_EQ(Sentences(Empty(), facts)[1],
              L"CoCreateInstance gives 0x80040111 (CLASS_E_CLASSNOTAVAILABLE) after an "
              L"import of the capture, and so it does after a registration");
}

} // namespace
} // namespace keyreap
