#include "kit/lint/lintrules.h"
#include "tests/unit/capture/capturelines.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::SizeIs;
using testsupport::DocumentOf;

std::vector<std::string> NumbersIn(const std::vector<RuleFinding>& findings) {
    std::vector<std::string> numbers;
    for (const RuleFinding& found : findings) {
        numbers.emplace_back(found.rule->number);
    }
    return numbers;
}

TEST(LintRules, NumbersAreInOrderAndUnique) {
    const auto isLater = [](const LintRule& left, const LintRule& right) {
        return left.number >= right.number;
    };
    EXPECT_EQ(std::ranges::adjacent_find(LintRules(), isLater), LintRules().end());
}

TEST(FindingsIn, FilesComeFirstThenRules) {
    const std::vector<Capture> captures = {
        {L"b.reg", DocumentOf({L"[HKEY_CLASSES_ROOT\\x]"})},
        {L"a.reg", DocumentOf({L"[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\x]", L"\"a\"=\"D:\\\\y\""})}};
    const std::vector<RuleFinding> findings = FindingsIn(LintInput(captures, {}, nullptr));
    EXPECT_THAT(NumbersIn(findings), ElementsAre("K301", "K404", "K101"));
    EXPECT_EQ(findings.back().finding.place.file, L"b.reg");
}

TEST(FindingsIn, ACaptureThatIsGivenTwiceHasItsFindingsOnce) {
    const Capture capture = {L"a.reg", DocumentOf({L"[HKEY_CLASSES_ROOT\\x]"})};
    const std::vector<Capture> captures = {capture, capture};
    EXPECT_THAT(FindingsIn(LintInput(captures, {}, nullptr)), SizeIs(1));
}

TEST(FindingsIn, KeysOfTheCapturesOwnAreNoKeysOfAUser) {
    const std::vector<Capture> captures = {
        {L"a.reg", DocumentOf({L"[HKEY_CLASSES_ROOT]", L"[HKEY_CURRENT_USER]", L"[HKEY_USERS]",
                               L"[HKEY_LOCAL_MACHINE]", L"[HKEY_LOCAL_MACHINE\\Software]", L"\"a\"=\"b\""})}};
    EXPECT_THAT(FindingsIn(LintInput(captures, {}, nullptr)), SizeIs(0));
}

} // namespace
} // namespace keyreap
