#include "tests/unit/check/checkedfacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

CheckFacts Removed(std::vector<KeyChange> changes, std::uint32_t status = 0) {
    CheckFacts facts;
    facts.empty.emplace();
    facts.empty->removalStatus = status;
    facts.empty->changesAfterRemoval = std::move(changes);
    return facts;
}

const RegDocument& Server() {
    static const RegDocument document = DocumentOf({L"[HKEY_CLASSES_ROOT\\A.B\\CLSID]", L"@=\"{a}\""});
    return document;
}

TEST(CleanRules, WhatIsLeftIsNamedByItsTopmostKey) {
    EXPECT_THAT(Found(Server(), Removed({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\A.B"),
                                         CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\A.B\\CLSID",
                                                    {NewValue(L"", L"{a}")})})),
                ElementsAre(L"C401 HKEY_LOCAL_MACHINE\\Software\\Classes\\A.B"));
}

TEST(CleanRules, KeysOfAllServersMayStay) {
    EXPECT_THAT(
        Found(Server(),
              Removed({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\CLSID"),
                       CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\Wow6432Node\\Interface")})),
        IsEmpty());
}

TEST(CleanRules, AKeyBelowThoseMayNot) {
    EXPECT_THAT(Found(Server(), Removed({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\CLSID\\{a}")})),
                ElementsAre(L"C401 HKEY_LOCAL_MACHINE\\Software\\Classes\\CLSID\\{a}"));
}

TEST(CleanRules, AValueThatWasOverwrittenIsLeft) {
    EXPECT_THAT(Found(Server(), Removed({{L"HKEY_LOCAL_MACHINE\\Software\\x",
                                          false,
                                          false,
                                          {{L"n", TextData(L"a"), TextData(L"b")}}}})),
                ElementsAre(L"C401 HKEY_LOCAL_MACHINE\\Software\\x \"n\""));
}

TEST(CleanRules, WhatLibrariesOfTheSystemWriteMayStay) {
    EXPECT_THAT(Found(Server(), Removed({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\Wine\\Fonts\\x")})),
                IsEmpty());
}

TEST(CleanRules, WhatTheServerNeverRegisteredIsTaken) {
    EXPECT_THAT(
        Found(Server(), Removed({RemovedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\.htm"),
                                 RemovedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\.htm\\Persistent"),
                                 RemovedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\A.B"),
                                 {L"HKEY_LOCAL_MACHINE\\Software\\x",
                                  false,
                                  false,
                                  {{L"n", TextData(L"a"), std::nullopt}}}})),
        ElementsAre(L"C402 HKEY_LOCAL_MACHINE\\Software\\Classes\\.htm",
                    L"C402 HKEY_LOCAL_MACHINE\\Software\\x \"n\""));
}

TEST(CleanRules, AFailingRemovalIsAFinding) {
    EXPECT_THAT(
        Sentences(Server(), Removed({}, 5)),
        ElementsAre(L"the registrar of the system ended with 5 when it unregistered the server in a registry "
                    L"without classes"));
}

TEST(CleanRules, NothingIsSaidWhereTheServerWasNotRegistered) {
    CheckFacts facts = Removed({CreatedKey(L"HKEY_LOCAL_MACHINE\\Software\\x")});
    facts.empty->status = 5;
    EXPECT_THAT(Found(Server(), facts), ElementsAre(L"C104"));
}

TEST(CleanRules, WhatWasThereBeforeIsTheServersOnlyWithItsData) {
    const RegDocument capture = DocumentOf({L"[HKEY_CLASSES_ROOT\\.ini]", L"@=\"a\"", L"\"n\"=\"b\""});
    KeyChange removed = RemovedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini");
    removed.values = {{L"", TextData(L"inifile"), std::nullopt},
                      {L"n", TextData(L"b"), std::nullopt},
                      {L"o", TextData(L"c"), std::nullopt}};
    EXPECT_THAT(Found(capture, Removed({removed})),
                ElementsAre(L"C402 HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini \"\"",
                            L"C402 HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini \"o\""));
}

TEST(CleanRules, WhatTheRegistrationTakesIsNotBlamedOnItsRemoval) {
    CheckFacts facts = Removed({RemovedKey(L"HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini")});
    facts.empty->changes = facts.empty->changesAfterRemoval;
    EXPECT_THAT(Found(Server(), facts), ElementsAre(L"C107 HKEY_LOCAL_MACHINE\\Software\\Classes\\.ini"));
}

} // namespace
} // namespace keyreap
