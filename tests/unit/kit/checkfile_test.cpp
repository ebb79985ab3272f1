#include "kit/checkfile.h"
#include "kit/refusal.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

const std::string file = "server.check.json";
const std::string digest = "a9993e364706816aba3e25717850c26c9cd0d89d";

CheckReport WholeReport() {
    CheckReport report;
    report.capture = "server.reg";
    report.server = "server.dll";
    report.digest = digest;
    for (const CheckPartName& named : checkPartNames) {
        report.parts.push_back(named.part);
    }
    report.created = {3, 2, 1};
    report.findings = {{"C101", L"", std::nullopt, L"is damaged"},
                       {"C201", L"HKEY_CLASSES_ROOT\\a", std::nullopt, L"is no key"},
                       {"C202", L"HKEY_CLASSES_ROOT\\a", L"", L"is no value"}};
    report.noise = {{L"HKEY_CURRENT_USER\\b", std::nullopt}, {L"HKEY_CURRENT_USER\\b", L"\"c\""}};
    return report;
}

// tests/keykit compares this text with the schema.
constexpr const char* wholeText = R"json({
  "format": 1,
  "capture": "server.reg",
  "server": "server.dll",
  "digest": "a9993e364706816aba3e25717850c26c9cd0d89d",
  "parts": [
    "whole",
    "result",
    "works",
    "clean",
    "noise",
    "same",
    "fillers"
  ],
  "created": {
    "classes": 3,
    "byCapture": 2,
    "byRegistration": 1
  },
  "findings": [
    {
      "rule": "C101",
      "sentence": "is damaged"
    },
    {
      "rule": "C201",
      "key": "HKEY_CLASSES_ROOT\\a",
      "sentence": "is no key"
    },
    {
      "rule": "C202",
      "key": "HKEY_CLASSES_ROOT\\a",
      "value": "",
      "sentence": "is no value"
    }
  ],
  "noise": [
    {
      "key": "HKEY_CURRENT_USER\\b"
    },
    {
      "key": "HKEY_CURRENT_USER\\b",
      "value": "\"c\""
    }
  ]
}
)json";

CheckReport ReportOfNoise(std::vector<CheckPart> parts) {
    CheckReport report = WholeReport();
    report.parts = std::move(parts);
    return report;
}

// The reason against a text; empty if there is none.
std::string ReasonAgainst(std::string_view json) {
    try {
        NoiseIn(json, digest, file);
        return {};
    } catch (const Refusal& refusal) {
        return refusal.what();
    }
}

constexpr const char* damaged = "server.check.json: it isn't what a check writes; check the capture again";

std::string Replaced(std::string text, std::string_view old, std::string_view with) {
    const std::size_t place = text.find(old);
    EXPECT_NE(place, std::string::npos) << old;
    return text.replace(place, old.size(), with);
}

TEST(CheckFile, ItsNameHasTheCapturesInThePlaceOfTheEnding) {
    EXPECT_EQ(CheckFileName("server.reg"), "server.check.json");
    EXPECT_EQ(CheckFileName("/a.reg/server.REG"), "/a.reg/server.check.json");
    EXPECT_EQ(CheckFileName("server.txt"), "server.txt.check.json");
    EXPECT_EQ(CheckFileName("server"), "server.check.json");
    EXPECT_EQ(CheckFileName("reg"), "reg.check.json");
}

TEST(CheckFile, TheDigestIsThatOfAllBytes) {
    EXPECT_EQ(DigestOf(std::vector<std::uint8_t>{'a', 'b', 'c'}), digest);
    EXPECT_EQ(DigestOf({}), "da39a3ee5e6b4b0d3255bfef95601890afd80709");
}

TEST(CheckFile, AllOfAReportIsWritten) {
    EXPECT_EQ(CheckJson(WholeReport()), wholeText);
}

TEST(CheckFile, WhatWasNotCreatedIsNotCounted) {
    CheckReport report = WholeReport();
    report.created.reset();
    EXPECT_EQ(CheckJson(report).find("created"), std::string::npos);
}

TEST(CheckFile, ANameMayBeAnyBytesAndHalfACharacter) {
    CheckReport report = WholeReport();
    report.capture = "\xff.reg";
    report.noise = {{L"HKEY_CURRENT_USER\\\xd800", std::nullopt}};
    const auto noise = NoiseIn(CheckJson(report), digest, file);
    ASSERT_TRUE(noise);
    EXPECT_EQ(*noise, report.noise);
}

TEST(CheckFile, TheNoiseIsReadBack) {
    const CheckReport report = WholeReport();
    EXPECT_EQ(NoiseIn(CheckJson(report), digest, file), report.noise);
}

TEST(CheckFile, NoneIsReadIfNobodyLookedForNoise) {
    EXPECT_FALSE(NoiseIn(CheckJson(ReportOfNoise({CheckPart::Whole, CheckPart::Clean})), digest, file));
    EXPECT_FALSE(NoiseIn(CheckJson(ReportOfNoise({})), digest, file));
    CheckReport quiet = ReportOfNoise({CheckPart::Noise});
    quiet.noise.clear();
    EXPECT_EQ(NoiseIn(CheckJson(quiet), digest, file), std::vector<NoiseEntry>());
}

TEST(CheckFile, ThatOfAnotherCaptureIsRefused) {
    const std::string json = Replaced(wholeText, "a9993e", "a9993f");
    EXPECT_EQ(ReasonAgainst(json), "server.check.json: it is of another capture; check the capture again");
}

TEST(CheckFile, AnotherFormatIsRefused) {
    const std::string reason =
        "server.check.json: it has a format that this version doesn't know; check the capture again";
    for (const char* number : {"2", "\"1\"", "null", "{}"}) {
        EXPECT_EQ(ReasonAgainst(Replaced(wholeText, "1", number)), reason) << number;
    }
}

TEST(CheckFile, WhatIsNoObjectIsRefused) {
    for (const char* json :
         {"", "x", "[]", "1", "null", "{}", "{\"format\":1}", "\xff\xfe{\0}", "{\"a\":\"\xff\"}"}) {
        EXPECT_EQ(ReasonAgainst(json), damaged) << json;
    }
    EXPECT_EQ(ReasonAgainst(std::string(1000000, '[')), damaged);
    EXPECT_EQ(ReasonAgainst(std::string(100000, '[') + std::string(100000, ']')), damaged);
}

TEST(CheckFile, AMemberOfAnotherTypeIsRefused) {
    const std::vector<std::array<std::string_view, 2>> changes = {
        {"\"digest\": \"a9993e364706816aba3e25717850c26c9cd0d89d\"", "\"digest\": 1"},
        {"\"parts\"", "\"parts\": {}, \"x\""},
        {"\"parts\"", "\"x\""},
        {"\"whole\"", "1"},
        {"\"noise\": [", "\"noise\": {}, \"x\": ["},
        {"\"noise\": [", "\"x\": ["},
        {"\"noise\": [", "\"noise\": [1,"},
        {"\"noise\": [", "\"noise\": [{},"},
        {"\"noise\": [", "\"noise\": [{\"key\": \"\"},"},
        {"\"noise\": [", "\"noise\": [{\"key\": 1},"},
        {"\"noise\": [", "\"noise\": [{\"key\": \"a\", \"value\": null},"},
        {"\"noise\": [", "\"noise\": [{\"key\": \"\\ud800\"},"},
    };
    for (const auto& [old, with] : changes) {
        EXPECT_EQ(ReasonAgainst(Replaced(wholeText, old, with)), damaged) << with;
    }
}

TEST(CheckFile, EveryTextThatIsCutOffIsRefused) {
    const std::string text = wholeText;
    for (std::size_t size = 0; size + 2 < text.size(); ++size) {
        ASSERT_EQ(ReasonAgainst(text.substr(0, size)), damaged) << size;
    }
}

TEST(CheckFile, AnyChangedByteIsReadOrRefused) {
    const std::string text = wholeText;
    for (std::size_t place = 0; place < text.size(); ++place) {
        for (const char byte : {'\0', '"', '\\', '{', ']', ',', '1', '\xff'}) {
            std::string changed = text;
            changed[place] = byte;
            const std::string reason = ReasonAgainst(changed);
            ASSERT_TRUE(reason.empty() || reason.starts_with(file + ": it ")) << changed;
        }
    }
}

TEST(CheckFindingsIn, AreThoseThatWereWritten) {
    const std::vector<WrittenFinding> findings = CheckFindingsIn(wholeText, digest, file);
    ASSERT_EQ(findings.size(), 3U);
    EXPECT_EQ(findings[0].rule, L"C101");
    EXPECT_EQ(findings[0].key, L"");
    EXPECT_EQ(findings[0].value, std::nullopt);
    EXPECT_EQ(findings[2].key, L"HKEY_CLASSES_ROOT\\a");
    EXPECT_EQ(findings[2].value, L"");
    EXPECT_EQ(findings[2].sentence, L"is no value");
}

TEST(CheckFindingsIn, AnotherCapturesAreRefused) {
    EXPECT_THROW(CheckFindingsIn(wholeText, "0", file), Refusal);
}

} // namespace
} // namespace keyreap
