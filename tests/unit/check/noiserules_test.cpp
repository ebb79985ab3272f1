#include "tests/unit/check/checkedfacts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using namespace testsupport;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr std::wstring_view ownKey = L"[HKEY_CLASSES_ROOT\\A.B]";
constexpr std::wstring_view noiseKey = L"[HKEY_LOCAL_MACHINE\\Software\\Drivers]";
constexpr std::wstring_view value = L"\"n\"=\"b\"";

CheckFacts Seen(RegDocument first, RegDocument second, RegDocument preloaded) {
    CheckFacts facts;
    facts.server = L"Z:\\bin\\server.dll";
    facts.witnesses = WitnessFacts{std::move(first), std::move(second), std::move(preloaded)};
    return facts;
}

const RegDocument& Alone() {
    static const RegDocument document = DocumentOf({ownKey, value});
    return document;
}

const RegDocument& WithNoise() {
    static const RegDocument document = DocumentOf({ownKey, value, noiseKey, value});
    return document;
}

TEST(NoiseRules, AnEntryThatBothWitnessesLackIsNoise) {
    EXPECT_THAT(Found(WithNoise(), Seen(WithNoise(), Alone(), Alone())),
                ElementsAre(L"C501 HKEY_LOCAL_MACHINE\\Software\\Drivers",
                            L"C501 HKEY_LOCAL_MACHINE\\Software\\Drivers \"n\""));
}

TEST(NoiseRules, OneWitnessIsNotEnough) {
    EXPECT_THAT(Found(WithNoise(), Seen(WithNoise(), WithNoise(), Alone())), IsEmpty());
}

TEST(NoiseRules, WhatIsRegisteredOncePerProcessIsNoNoise) {
    EXPECT_THAT(Found(WithNoise(), Seen(WithNoise(), Alone(), WithNoise())),
                ElementsAre(L"C502 HKEY_LOCAL_MACHINE\\Software\\Drivers"));
}

TEST(NoiseRules, WhatNoWitnessEverHadIsNoNoise) {
    EXPECT_THAT(Found(WithNoise(), Seen(Alone(), Alone(), Alone())), IsEmpty());
}

TEST(NoiseRules, WhatNamesTheServersFileIsNoNoise) {
    const RegDocument named = DocumentOf({ownKey, value, noiseKey, L"\"n\"=\"x SERVER.DLL\""});
    EXPECT_THAT(Found(named, Seen(named, Alone(), Alone())), IsEmpty());
}

TEST(NoiseRules, WhatNamesTheServersClassesIsNoNoise) {
    constexpr std::wstring_view clsid = L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}]";
    const RegDocument named =
        DocumentOf({clsid, value, noiseKey, L"\"{b29a312e-eb83-43bc-a846-e0c0563b8877}\"=\"x\""});
    const RegDocument without = DocumentOf({clsid, value});
    EXPECT_THAT(NoiseOf({L"a.reg", named}, Seen(named, without, without)), IsEmpty());
}

TEST(NoiseRules, ARefusalOfTheSecondTimeIsAFinding) {
    CheckFacts facts;
    facts.full.emplace();
    facts.full->secondStatus = 5;
    EXPECT_THAT(Sentences(Alone(), facts),
                ElementsAre(L"the registrar of the system ended with 5 when the server was there already"));
}

} // namespace
} // namespace keyreap
