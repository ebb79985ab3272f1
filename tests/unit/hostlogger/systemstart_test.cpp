#include "etl/registryevent.h"
#include "hostlogger/systemstart.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

constexpr std::uint32_t firstProcess = 0x20;
constexpr std::uint32_t firstThread = 0x24;
constexpr std::uint32_t secondProcess = 0x30;
constexpr std::uint32_t secondThread = 0x34;

// The handles of each process of these tests.
constexpr std::uint32_t machineRoot = 4; // HKLM, as the API gets it
constexpr std::uint32_t zone = 8;        // HKLM\Software\Zone
constexpr std::uint32_t fonts = 12;      // HKLM\Software\Fonts, opened by its complete name

const std::string zonePath = R"(\registry\machine\software\zone)";
const std::string createsZone = "8664\tcreate\t" + zonePath;
const std::string setsName = "8664\tset\t" + zonePath + "\tname";

class SystemStartTest : public testing::Test {
protected:
    void Recorded(const std::string& text) { story.tracker.SetSystemStart(SystemStart::Parse(text)); }

    // A process ahead of its entry point. It has created Zone, which existed.
    void Begin(std::uint32_t process = firstProcess, std::uint32_t thread = firstThread,
               const char* machine = RequestStory::machine64) {
        story.FirstThread(process, thread);
        story.MapImage(thread, machine);
        story.Create(thread, R"(\REGISTRY\Machine)", machineRoot, {.status = "OBJECT_NAME_EXISTS"});
        story.Create(thread, R"(Software\Zone)", zone,
                     {.parent = machineRoot, .status = "OBJECT_NAME_EXISTS"});
        story.Open(thread, R"(\Registry\Machine\Software\Fonts)", fonts,
                   {.realPath = R"(REGISTRY\Machine\Software\Fonts)"});
    }

    // The requests that were reported, as lines.
    std::vector<std::string> Reported() {
        std::vector<std::string> lines;
        for (const KeyRequest& request : story.reported.requests) {
            lines.push_back(SystemStart::IsChange(request) ? SystemStart::LineOf(request, story.registry)
                                                           : "read");
        }
        return lines;
    }

    using Lines = std::vector<std::string>;
    RequestStory story;
};

TEST_F(SystemStartTest, ARecordedRequestIsNotReportedAheadOfTheEntryPoint) {
    Recorded(createsZone + '\n' + setsName + '\n');
    Begin();
    story.SetValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, AChangeOfTheSystemIsReportedAsSuch) {
    Recorded(createsZone + '\n' + setsName + '\n');
    Begin();
    story.SetValue(firstThread, zone, "Name");
    story.QueryValue(firstThread, zone, "Name");
    ASSERT_EQ(story.reported.ofSystem.size(), 2U);
    EXPECT_EQ(story.reported.ofSystem[0].type, registryevent::createKey);
    EXPECT_EQ(story.reported.ofSystem[1].type, registryevent::setValue);
    EXPECT_EQ(story.reported.ofSystem[1].processId, firstProcess);
    EXPECT_EQ(story.reported.ofSystem[1].name, L"Name");
}

TEST_F(SystemStartTest, AnUnrecordedChangeIsReportedAheadOfTheEntryPoint) {
    Recorded(createsZone + '\n');
    Begin();
    story.Create(firstThread, "New", 16,
                 {.parent = zone, .realPath = R"(REGISTRY\Machine\Software\Zone\New)"});
    story.SetValue(firstThread, zone, "Name");
    story.DeleteValue(firstThread, zone, "Name");
    story.DeleteKey(firstThread, 16);
    story.Rename(firstThread, zone, "Newer");
    ASSERT_EQ(story.reported.requests.size(), 5U);
    EXPECT_EQ(story.reported.requests[0].type, registryevent::createKey);
    EXPECT_EQ(story.reported.requests[1].type, registryevent::setValue);
    EXPECT_EQ(story.reported.requests[1].name, L"Name");
    EXPECT_EQ(story.reported.requests[2].type, registryevent::deleteValue);
    EXPECT_EQ(story.reported.requests[3].type, registryevent::deleteKey);
    EXPECT_EQ(story.reported.requests[4].type, registryevent::setInformation);
    for (const KeyRequest& request : story.reported.requests) {
        EXPECT_EQ(request.processId, firstProcess);
    }
}

TEST_F(SystemStartTest, ARequestIsTheSystemsAsOftenAsItIsRecorded) {
    Recorded(createsZone + '\n' + setsName + '\n' + setsName + '\n');
    Begin();
    story.SetValue(firstThread, zone, "Name");
    story.SetValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), Lines{});
    story.SetValue(firstThread, zone, "Name");
    story.SetValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), (Lines{setsName, setsName}));
}

TEST_F(SystemStartTest, EachStartHasACountOfItsOwn) {
    Recorded(createsZone + '\n' + setsName + '\n');
    Begin();
    Begin(secondProcess, secondThread);
    story.SetValue(firstThread, zone, "Name");
    story.SetValue(secondThread, zone, "Name");
    EXPECT_EQ(Reported(), Lines{});
    story.SetValue(secondThread, zone, "Name");
    ASSERT_EQ(story.reported.requests.size(), 1U);
    EXPECT_EQ(story.reported.requests[0].processId, secondProcess);
}

TEST_F(SystemStartTest, AReusedIdBeginsANewCount) {
    Recorded(createsZone + '\n' + setsName + '\n');
    for (int round = 0; round < 2; ++round) {
        Begin();
        story.SetValue(firstThread, zone, "Name");
        EXPECT_EQ(Reported(), Lines{});
        story.KillThread(firstThread);
        story.KillProcess(firstProcess);
    }
}

TEST_F(SystemStartTest, FromTheEntryPointOnEverythingIsReported) {
    Recorded(createsZone + '\n' + setsName + '\n');
    Begin();
    story.ReachEntryPoint(firstThread);
    story.SetValue(firstThread, zone, "Name");
    story.QueryValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), (Lines{setsName, "read"}));
}

TEST_F(SystemStartTest, ReadingAheadOfTheEntryPointIsNotReported) {
    Recorded(createsZone + '\n');
    Begin();
    story.QueryValue(firstThread, zone, "Name");
    story.Open(firstThread, "New", 16, {.parent = zone});
    story.Close(firstThread, zone);
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, WhereNoStartOfTheMachineIsRecordedNothingIsReportedAheadOfTheEntryPoint) {
    Recorded(createsZone + '\n');
    Begin(firstProcess, firstThread, RequestStory::machine32);
    story.SetValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), Lines{});
    story.ReachEntryPoint(firstThread);
    story.SetValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported().size(), 1U);
}

TEST_F(SystemStartTest, BeforeItsImageIsMappedNothingOfAProcessIsReported) {
    Recorded(createsZone + '\n');
    story.FirstThread(firstProcess, firstThread);
    story.Create(firstThread, R"(\Registry\Machine\Software\New)", 4,
                 {.realPath = R"(REGISTRY\Machine\Software\New)"});
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, WithAStartOfNoChangesEveryChangeIsReported) {
    story.tracker.SetSystemStart(SystemStart::OfNoChanges());
    Begin();
    Begin(secondProcess, secondThread, RequestStory::machine32);
    story.SetValue(firstThread, fonts, "Arial");
    EXPECT_EQ(Reported(), (Lines{createsZone, R"(014c	create	\registry\machine\software\wow6432node\zone)",
                                 R"(inner	\registry\machine\software\fonts)"}));
}

TEST_F(SystemStartTest, InnerPartsMayChangeAnyValueOfARecordedKeyAnyNumberOfTimes) {
    Recorded(createsZone + "\ninner\t\\registry\\machine\\software\\fonts\n");
    Begin();
    story.SetValue(firstThread, fonts, "Arial");
    story.SetValue(firstThread, fonts, "Arial");
    story.DeleteValue(firstThread, fonts, "Courier");
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, AChangeOfAnUnrecordedKeyByInnerPartsIsReported) {
    Recorded(createsZone + '\n');
    Begin();
    story.SetValue(firstThread, fonts, "Arial");
    EXPECT_EQ(Reported(), Lines{R"(inner	\registry\machine\software\fonts)"});
}

TEST_F(SystemStartTest, AKeyRecordedForInnerPartsIsReportedForAProgram) {
    Recorded(createsZone + "\ninner\t" + zonePath + '\n');
    Begin();
    story.SetValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), Lines{setsName});
}

TEST_F(SystemStartTest, TheCaseOfLettersDoesNotCount) {
    Recorded(createsZone + '\n' + setsName + '\n');
    Begin();
    story.SetValue(firstThread, zone, "NAME");
    EXPECT_EQ(Reported(), Lines{});
}

TEST_F(SystemStartTest, AFailedCreationIsRecordedByTheNameAskedFor) {
    Recorded(createsZone + "\n8664\tcreate\t" + zonePath + "\\deep\\er\n");
    Begin();
    story.Create(firstThread, R"(Deep\Er)", 0, {.parent = zone, .status = "OBJECT_NAME_NOT_FOUND"});
    EXPECT_EQ(Reported(), Lines{});
    story.Create(firstThread, R"(Deep\Est)", 0, {.parent = zone, .status = "OBJECT_NAME_NOT_FOUND"});
    EXPECT_EQ(Reported(), Lines{"8664\tcreate\t" + zonePath + R"(\deep\est)"});
}

TEST_F(SystemStartTest, AtAStrictHostEverythingIsReportedAheadOfTheEntryPoint) {
    Strictness strictness;
    strictness.system = true;
    story.tracker.SetStrictness(strictness);
    Recorded(createsZone + '\n' + setsName + '\n');
    Begin();
    story.SetValue(firstThread, zone, "Name");
    story.QueryValue(firstThread, zone, "Name");
    EXPECT_EQ(Reported(), (Lines{"read", createsZone, "read", setsName, "read"}));
}

TEST_F(SystemStartTest, AtAStrictHostNoRecordingIsNeeded) {
    Strictness strictness;
    strictness.system = true;
    story.tracker.SetStrictness(strictness);
    Begin(firstProcess, firstThread, RequestStory::machine32);
    EXPECT_EQ(Reported().size(), 3U);
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
    const SystemStart start = SystemStart::Parse(createsZone);
    EXPECT_TRUE(start.Knows(machineAmd64));
    EXPECT_FALSE(start.Knows(machineI386));
    EXPECT_FALSE(start.Knows(0));
    EXPECT_EQ(start.CountOf(createsZone), 1U);
    EXPECT_EQ(start.CountOf(setsName), 0U);
}

TEST(SystemStart, InvalidTextsKnowNoMachine) {
    for (const char* text :
         {"", "\n", "\n\n", "0000\tset", "8664g\tset", "x", "inner\t\\registry", "\t8664"}) {
        const SystemStart start = SystemStart::Parse(text);
        EXPECT_FALSE(start.Knows(machineAmd64)) << text;
        EXPECT_FALSE(start.Knows(0)) << text;
    }
}

} // namespace
} // namespace keyreap
