#include "etl/registryevent.h"
#include "hostlogger/systemstart.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t PROCESS = 0x20;
constexpr std::uint32_t THREAD = 0x24;
constexpr std::uint32_t OTHER = 0x30;
constexpr std::uint32_t OTHER_THREAD = 0x34;

// Handles that each process of these tests has.
constexpr std::uint32_t MACHINE_ROOT = 4; // HKLM, as the API makes it
constexpr std::uint32_t ZONE = 8;         // HKLM\Software\Zone
constexpr std::uint32_t FONTS = 12;       // HKLM\Software\Fonts, opened by its complete name

const std::string ZONE_PATH = R"(\registry\machine\software\zone)";
const std::string CREATES_ZONE = "8664\tcreate\t" + ZONE_PATH;
const std::string SETS_NAME = "8664\tset\t" + ZONE_PATH + "\tname";

class SystemStartTest : public testing::Test {
protected:
    void Recorded(const std::string& text) { story.tracker.SetSystemStart(SystemStart::Parse(text)); }

    // A process ahead of its entry point: it has created Zone, which was there.
    void Begin(std::uint32_t process = PROCESS, std::uint32_t thread = THREAD,
               const char* machine = RequestStory::AMD64) {
        story.FirstThread(process, thread);
        story.MapImage(thread, machine);
        story.Create(thread, R"(\REGISTRY\Machine)", MACHINE_ROOT, {.status = "OBJECT_NAME_EXISTS"});
        story.Create(thread, R"(Software\Zone)", ZONE,
                     {.parent = MACHINE_ROOT, .status = "OBJECT_NAME_EXISTS"});
        story.Open(thread, R"(\Registry\Machine\Software\Fonts)", FONTS,
                   {.realPath = R"(REGISTRY\Machine\Software\Fonts)"});
    }

    // The requests that were reported, as lines.
    std::vector<std::string> Reported() {
        std::vector<std::string> lines;
        for (const KeyRequest& request : story.told.requests) {
            lines.push_back(SystemStart::IsChange(request) ? SystemStart::LineOf(request, story.registry)
                                                           : "read");
        }
        return lines;
    }

    using Lines = std::vector<std::string>;
    RequestStory story;
};

TEST_F(SystemStartTest, WhatIsRecordedIsNotReportedAheadOfTheEntryPoint) {
    Recorded(CREATES_ZONE + '\n' + SETS_NAME + '\n');
    Begin();
    story.SetValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, WhatIsNotRecordedIsReportedAheadOfTheEntryPoint) {
    Recorded(CREATES_ZONE + '\n');
    Begin();
    story.Create(THREAD, "New", 16, {.parent = ZONE, .realPath = R"(REGISTRY\Machine\Software\Zone\New)"});
    story.SetValue(THREAD, ZONE, "Name");
    story.DeleteValue(THREAD, ZONE, "Name");
    story.DeleteKey(THREAD, 16);
    story.Rename(THREAD, ZONE, "Newer");
    ASSERT_EQ(story.told.requests.size(), 5U);
    EXPECT_EQ(story.told.requests[0].type, registryevent::createKey);
    EXPECT_EQ(story.told.requests[1].type, registryevent::setValue);
    EXPECT_EQ(story.told.requests[1].name, L"Name");
    EXPECT_EQ(story.told.requests[2].type, registryevent::deleteValue);
    EXPECT_EQ(story.told.requests[3].type, registryevent::deleteKey);
    EXPECT_EQ(story.told.requests[4].type, registryevent::setInformation);
    for (const KeyRequest& request : story.told.requests) {
        EXPECT_EQ(request.processId, PROCESS);
    }
}

TEST_F(SystemStartTest, ARequestIsTheSystemsAsOftenAsItIsRecorded) {
    Recorded(CREATES_ZONE + '\n' + SETS_NAME + '\n' + SETS_NAME + '\n');
    Begin();
    story.SetValue(THREAD, ZONE, "Name");
    story.SetValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), Lines{});
    story.SetValue(THREAD, ZONE, "Name");
    story.SetValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), (Lines{SETS_NAME, SETS_NAME}));
}

TEST_F(SystemStartTest, EachStartIsCountedForItself) {
    Recorded(CREATES_ZONE + '\n' + SETS_NAME + '\n');
    Begin();
    Begin(OTHER, OTHER_THREAD);
    story.SetValue(THREAD, ZONE, "Name");
    story.SetValue(OTHER_THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), Lines{});
    story.SetValue(OTHER_THREAD, ZONE, "Name");
    ASSERT_EQ(story.told.requests.size(), 1U);
    EXPECT_EQ(story.told.requests[0].processId, OTHER);
}

TEST_F(SystemStartTest, AnIdThatIsUsedAgainBeginsItsCountAgain) {
    Recorded(CREATES_ZONE + '\n' + SETS_NAME + '\n');
    for (int round = 0; round < 2; ++round) {
        Begin();
        story.SetValue(THREAD, ZONE, "Name");
        EXPECT_EQ(Reported(), Lines{});
        story.KillThread(THREAD);
        story.KillProcess(PROCESS);
    }
}

TEST_F(SystemStartTest, FromTheEntryPointOnNothingIsTheSystems) {
    Recorded(CREATES_ZONE + '\n' + SETS_NAME + '\n');
    Begin();
    story.EndStart(THREAD);
    story.SetValue(THREAD, ZONE, "Name");
    story.QueryValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), (Lines{SETS_NAME, "read"}));
}

TEST_F(SystemStartTest, WhatIsReadAheadOfTheEntryPointIsNotReported) {
    Recorded(CREATES_ZONE + '\n');
    Begin();
    story.QueryValue(THREAD, ZONE, "Name");
    story.Open(THREAD, "New", 16, {.parent = ZONE});
    story.Close(THREAD, ZONE);
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, WhereNoStartOfTheMachineIsRecordedNothingIsReportedAheadOfTheEntryPoint) {
    Recorded(CREATES_ZONE + '\n');
    Begin(PROCESS, THREAD, RequestStory::I386);
    story.SetValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), Lines{});
    story.EndStart(THREAD);
    story.SetValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported().size(), 1U);
}

TEST_F(SystemStartTest, BeforeItsImageIsMappedNothingOfAProcessIsReported) {
    Recorded(CREATES_ZONE + '\n');
    story.FirstThread(PROCESS, THREAD);
    story.Create(THREAD, R"(\Registry\Machine\Software\New)", 4,
                 {.realPath = R"(REGISTRY\Machine\Software\New)"});
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, AStartOfNoChangesLeavesEveryChangeToBeReported) {
    story.tracker.SetSystemStart(SystemStart::OfNoChanges());
    Begin();
    Begin(OTHER, OTHER_THREAD, RequestStory::I386);
    story.SetValue(THREAD, FONTS, "Arial");
    EXPECT_EQ(Reported(), (Lines{CREATES_ZONE, R"(014c	create	\registry\machine\software\wow6432node\zone)",
                                 R"(inner	\registry\machine\software\fonts)"}));
}

TEST_F(SystemStartTest, InnerPartsMayChangeARecordedKeyAsOftenAndUnderAnyNameAsTheyLike) {
    Recorded(CREATES_ZONE + "\ninner\t\\registry\\machine\\software\\fonts\n");
    Begin();
    story.SetValue(THREAD, FONTS, "Arial");
    story.SetValue(THREAD, FONTS, "Arial");
    story.DeleteValue(THREAD, FONTS, "Courier");
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, OfAKeyThatIsNotRecordedWhatInnerPartsChangeIsReported) {
    Recorded(CREATES_ZONE + '\n');
    Begin();
    story.SetValue(THREAD, FONTS, "Arial");
    EXPECT_EQ(Reported(), Lines{R"(inner	\registry\machine\software\fonts)"});
}

TEST_F(SystemStartTest, AKeyOfInnerPartsIsNoneOfTheProgram) {
    Recorded(CREATES_ZONE + "\ninner\t" + ZONE_PATH + '\n');
    Begin();
    story.SetValue(THREAD, ZONE, "Name");
    EXPECT_EQ(Reported(), Lines{SETS_NAME});
}

TEST_F(SystemStartTest, TheCaseOfLettersDoesNotCount) {
    Recorded(CREATES_ZONE + '\n' + SETS_NAME + '\n');
    Begin();
    story.SetValue(THREAD, ZONE, "NAME");
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, AFailedCreationGoesByTheNameThatWasAskedFor) {
    Recorded(CREATES_ZONE + "\n8664\tcreate\t" + ZONE_PATH + "\\deep\\er\n");
    Begin();
    story.Create(THREAD, R"(Deep\Er)", 0, {.parent = ZONE, .status = "OBJECT_NAME_NOT_FOUND"});
    EXPECT_EQ(Reported(), Lines{});
    story.Create(THREAD, R"(Deep\Est)", 0, {.parent = ZONE, .status = "OBJECT_NAME_NOT_FOUND"});
    EXPECT_EQ(Reported(), Lines{"8664\tcreate\t" + ZONE_PATH + R"(\deep\est)"});
}

TEST_F(SystemStartTest, UnitsOutsideOfAsciiAreEscaped) {
    KeyRequest request;
    request.type = registryevent::setValue;
    request.machine = machineI386;
    request.key = std::make_shared<const OpenKey>(L"\\REGISTRY\\Machine\\A b\x00E4%");
    request.name = L"T\ta\nb\xD83D";
    EXPECT_EQ(SystemStart::LineOf(request, story.registry),
              "014c\tset\t\\registry\\machine\\a b%00e4%0025\tt%0009a%000ab%d83d");
}

TEST(SystemStart, KnowsTheMachinesOfItsLines) {
    const SystemStart start = SystemStart::Parse(CREATES_ZONE);
    EXPECT_TRUE(start.Knows(machineAmd64));
    EXPECT_FALSE(start.Knows(machineI386));
    EXPECT_FALSE(start.Knows(0));
    EXPECT_EQ(start.CountOf(CREATES_ZONE), 1U);
    EXPECT_EQ(start.CountOf(SETS_NAME), 0U);
}

TEST(SystemStart, OtherTextsKnowNoMachine) {
    for (const char* text :
         {"", "\n", "\n\n", "0000\tset", "8664g\tset", "x", "inner\t\\registry", "\t8664"}) {
        const SystemStart start = SystemStart::Parse(text);
        EXPECT_FALSE(start.Knows(machineAmd64)) << text;
        EXPECT_FALSE(start.Knows(0)) << text;
    }
}

} // namespace
} // namespace keyreap
