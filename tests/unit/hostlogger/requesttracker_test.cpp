#include "etl/registryevent.h"
#include "tests/unit/hostlogger/requesttrackertest.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

TEST_F(RequestTrackerTest, AnOpenedKeyIsReportedWithTheNameAskedForAndTheKeyFound) {
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].type, registryevent::openKey);
    EXPECT_EQ(reported[0].processId, firstProcess);
    EXPECT_EQ(reported[0].threadId, firstThread);
    EXPECT_EQ(reported[0].status, 0U);
    EXPECT_EQ(reported[0].name, L"A");
    ASSERT_TRUE(reported[0].parent);
    EXPECT_EQ(reported[0].parent->Path(story.registry), softwareKey);
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, ACreatedKeyIsReported) {
    story.Create(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].type, registryevent::createKey);
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, TheCreationOfAnExistingKeyHasSucceeded) {
    story.Create(firstThread, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].status, 0U);
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, TheCreationOfAnExistingRootIsReportedAsItsOpening) {
    story.Create(firstThread, R"(\REGISTRY\Machine)", 8, {.status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].type, registryevent::openKey);
    EXPECT_EQ(reported[0].status, 0U);
    EXPECT_EQ(story.LastPath(), machineKey);
}

TEST_F(RequestTrackerTest, AKeyThatAProgramCreatesBelowARootIsReportedAsCreated) {
    story.Create(firstThread, R"(\Registry\Machine)", 8,
                 {.access = 0x02000000, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "Software", 12,
                 {.parent = 8, .access = 0x02000000, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[1].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, ARootOfTheOtherViewIsMadeComponentByComponent) {
    constexpr std::uint32_t rootAccess = 0x02000200;
    constexpr std::uint32_t asked = 0x00020206;
    story.Create(firstThread, R"(\Registry\Machine)", 8,
                 {.access = rootAccess, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "Software", 12,
                 {.parent = 8, .access = rootAccess, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "A", 16, {.parent = 12, .access = asked, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[1].type, registryevent::openKey);
    EXPECT_EQ(reported[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, BelowAProgramsOwnKeyNoRootIsMade) {
    constexpr std::uint32_t asked = 0x00020206;
    story.Create(firstThread, R"(\Registry\Machine)", 8,
                 {.access = 0x02000200, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "A", 12, {.parent = 8, .access = asked, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "B", 16, {.parent = 12, .access = asked, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[1].type, registryevent::createKey);
    EXPECT_EQ(reported[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, BelowAKeyThatWasOpenedNoRootIsMade) {
    constexpr std::uint32_t rootAccess = 0x02000200;
    story.Create(firstThread, R"(\Registry\Machine)", 8,
                 {.access = rootAccess, .status = "OBJECT_NAME_EXISTS"});
    story.Open(firstThread, "Software", 12, {.parent = 8, .access = rootAccess});
    story.Create(firstThread, "A", 16, {.parent = 12, .access = rootAccess, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, AnExistingKeyThatInnerPartsCreateIsReportedAsOpened) {
    story.Open(firstThread, R"(\Registry\User\S-1-5-21-0-0-0-1000)", 8);
    story.Create(firstThread, R"(Control Panel\Colors)", 12, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "New", 16, {.parent = 12});
    story.Create(firstThread, "New", 20, {.parent = 16, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 4U);
    EXPECT_EQ(reported[1].type, registryevent::openKey);
    EXPECT_EQ(reported[2].type, registryevent::createKey);
    EXPECT_EQ(reported[3].type, registryevent::openKey);
}

TEST_F(RequestTrackerTest, AtAStrictHostEveryCreationOfAnExistingKeyIsReportedAsOne) {
    Strictness strictness;
    strictness.creations = true;
    story.tracker.SetStrictness(strictness);
    story.Create(firstThread, R"(\REGISTRY\Machine)", 8, {.status = "OBJECT_NAME_EXISTS"});
    story.Open(firstThread, R"(\Registry\User\S-1-5-21-0-0-0-1000)", 12);
    story.Create(firstThread, R"(Control Panel\Colors)", 16, {.parent = 12, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[0].type, registryevent::createKey);
    EXPECT_EQ(reported[0].status, 0U);
    EXPECT_EQ(reported[1].type, registryevent::openKey);
    EXPECT_EQ(reported[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, AKeyCreatedBelowTheKeyOfRegOpenCurrentUserIsTheProgramsOwn) {
    // As Wine's RegOpenCurrentUser does it: through the root of the users' hives.
    story.Create(firstThread, R"(\Registry\User)", 8, {.access = 0x02000000, .status = "OBJECT_NAME_EXISTS"});
    story.Open(firstThread, "S-1-5-21-0-0-0-1000", 12, {.parent = 8});
    story.Create(firstThread, "Software", 16, {.parent = 12, .status = "OBJECT_NAME_EXISTS"});
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[2].type, registryevent::createKey);
}

TEST_F(RequestTrackerTest, AFailureKeepsItsStatusAndGivesNoKey) {
    story.Open(firstThread, "Missing", 0, {.parent = 4, .status = "OBJECT_NAME_NOT_FOUND"});
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].status, 0xC0000034U);
    EXPECT_EQ(reported[0].name, L"Missing");
    EXPECT_FALSE(reported[0].key);
    EXPECT_TRUE(reported[0].parent);
}

TEST_F(RequestTrackerTest, TheRealPathCountsInsteadOfTheNameAskedFor) {
    story.Open(firstThread, "Link", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\System\Target)"});
    EXPECT_EQ(story.LastPath(), machineKey + L"\\System\\Target");
}

TEST_F(RequestTrackerTest, ChangesAreReportedWithTheirKeyAndTheNameOfTheValue) {
    story.SetValue(firstThread, 4, "Set");
    story.DeleteValue(firstThread, 4, "Deleted");
    story.QueryValue(firstThread, 4, "Asked");
    story.DeleteKey(firstThread, 4, "ACCESS_DENIED");
    ASSERT_EQ(reported.size(), 4U);
    EXPECT_EQ(reported[0].type, registryevent::setValue);
    EXPECT_EQ(reported[0].name, L"Set");
    EXPECT_EQ(reported[1].type, registryevent::deleteValue);
    EXPECT_EQ(reported[1].name, L"Deleted");
    EXPECT_EQ(reported[2].type, registryevent::queryValue);
    EXPECT_EQ(reported[2].name, L"Asked");
    EXPECT_EQ(reported[3].type, registryevent::deleteKey);
    EXPECT_EQ(reported[3].status, 0xC0000022U);
    for (const KeyRequest& request : reported) {
        EXPECT_EQ(request.key->Path(story.registry), softwareKey);
    }
}

TEST_F(RequestTrackerTest, AChangeThroughAHandleOfNoKeyIsNotReported) {
    EXPECT_EQ(PathOf(0x88), L"");
    EXPECT_TRUE(reported.empty());
}

TEST_F(RequestTrackerTest, AListenerThatWantsNoRequestsGetsNoneButKeysAreTracked) {
    story.reported.wants = false;
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.SetValue(firstThread, 8, "v");
    story.Close(firstThread, 4);
    EXPECT_TRUE(reported.empty());
    story.reported.wants = true;
    EXPECT_EQ(PathOf(8), softwareKey + L"\\A");
    EXPECT_EQ(PathOf(4), L"");
}

TEST_F(RequestTrackerTest, AReplyCountsOnce) {
    story.Open(firstThread, "A", 8, {.parent = 4});
    story.Line("0024: open_key() = 0 { hkey=000c }");
    EXPECT_EQ(reported.size(), 1U);
    EXPECT_EQ(PathOf(12), L"");
}

TEST_F(RequestTrackerTest, LinesOfOtherThreadsMayBeBetweenRequestAndReply) {
    story.Process(secondProcess, secondThread);
    OpenSoftware(secondThread);
    reported.clear();
    story.Line(R"(0024: set_key_value( hkey=0004, type=4, namelen=2, name=L"A" ))");
    story.Line(R"(0034: set_key_value( hkey=0004, type=4, namelen=2, name=L"B" ))");
    story.Line("0024: set_key_value() = 0");
    story.Line("0034: set_key_value() = 0");
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[0].name, L"A");
    EXPECT_EQ(reported[0].processId, firstProcess);
    EXPECT_EQ(reported[1].name, L"B");
    EXPECT_EQ(reported[1].processId, secondProcess);
}

TEST_F(RequestTrackerTest, ARealPathBelongsToTheRequestAheadOfIt) {
    story.Process(secondProcess, secondThread);
    reported.clear();
    story.Line(R"(0024: open_key( parent=0004, access=00020019, attributes=00000040, name=L"A" ))");
    story.Line(
        R"(0034: open_key( parent=0000, access=00020019, attributes=00000040, name=L"\\Registry\\B" ))");
    story.Line(R"(Open key REGISTRY\\B)");
    story.Line("0034: open_key() = 0 { hkey=0008 }");
    story.Line("0024: open_key() = 0 { hkey=0008 }");
    ASSERT_EQ(reported.size(), 2U);
    EXPECT_EQ(reported[0].key->Path(story.registry), L"\\REGISTRY\\B");
    EXPECT_EQ(reported[1].key->Path(story.registry), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, AReplyWithoutItsRequestIsIgnored) {
    story.Line("0024: set_key_value() = 0");
    story.Line("0024: open_key() = 0 { hkey=0008 }");
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(PathOf(8), L"");
}

TEST_F(RequestTrackerTest, AReplyToAnotherRequestIsIgnored) {
    story.Line("0024: delete_key( hkey=0004 )");
    story.Line("0024: set_key_value() = 0");
    EXPECT_TRUE(reported.empty());
}

TEST_F(RequestTrackerTest, ARequestWhoseThreadEndedBeforeTheReplyIsIgnored) {
    story.Line("0024: delete_key( hkey=0004 )");
    story.KillThread(firstThread);
    story.Line("0024: delete_key() = 0");
    EXPECT_TRUE(reported.empty());
}

TEST_F(RequestTrackerTest, TimesAreThoseOfTheLastClockLine) {
    story.Line("time 1000");
    story.SetValue(firstThread, 4, "A");
    story.Line("time 2000");
    story.SetValue(firstThread, 4, "B");
    story.SetValue(firstThread, 4, "C");
    ASSERT_EQ(reported.size(), 3U);
    EXPECT_EQ(reported[0].time, 1000);
    EXPECT_EQ(reported[1].time, 2000);
    EXPECT_EQ(reported[2].time, 2000);
    EXPECT_EQ(story.tracker.Time(), 2000);
}

TEST_F(RequestTrackerTest, MissingLinesAreReported) {
    story.Line("lost");
    EXPECT_EQ(story.reported.lost, 1);
}

TEST_F(RequestTrackerTest, MeaninglessLinesAreIgnored) {
    for (const char* line :
         {"", "wineserver: starting (pid=1)", "0024: select( flags=2 )", "0024: select() = 0",
          "Open key REGISTRY", "time", "time x", "0024: open_key(", "\xff\xfe"}) {
        story.Line(line);
    }
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(PathOf(4), softwareKey);
}

TEST_F(RequestTrackerTest, AMissingCompleteNameIsReported) {
    story.Open(firstThread, R"(\REGISTRY\Mark 1)", 0, {.status = "OBJECT_NAME_NOT_FOUND"});
    story.Open(firstThread, "Mark 2", 0, {.parent = 4, .status = "OBJECT_NAME_NOT_FOUND"});
    story.Create(firstThread, R"(\REGISTRY\Mark 3)", 0, {.status = "ACCESS_DENIED"});
    EXPECT_EQ(story.reported.missing, (std::vector<std::wstring>{L"\\REGISTRY\\Mark 1"}));
}

TEST_F(RequestTrackerTest, WithoutAListenerHandlesAreStillTracked) {
    story.listening = false;
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.Line("lost");
    story.Open(firstThread, R"(\REGISTRY\Missing)", 0, {.status = "OBJECT_NAME_NOT_FOUND"});
    story.listening = true;
    EXPECT_TRUE(reported.empty());
    EXPECT_EQ(PathOf(8), softwareKey + L"\\A");
}

// The view of a 32-bit process.

TEST_F(RequestTrackerTest, AnExistingKeyIsFoundInTheViewOfTheProcess) {
    story.Process(secondProcess, secondThread, RequestStory::machine32);
    const KeyQuestion existing{.status = "OBJECT_NAME_EXISTS"};
    story.Create(secondThread, R"(\REGISTRY\Machine\Software\A)", 8, existing);
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\Wow6432Node\\A");
    story.Create(firstThread, R"(\REGISTRY\Machine\Software\A)", 8, existing);
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, AccessFlagsChooseTheView) {
    story.Process(secondProcess, secondThread, RequestStory::machine32);
    OpenSoftware(secondThread);
    story.Create(secondThread, R"(\REGISTRY\Machine\Software\A)", 8,
                 {.access = 0xF013F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
    story.Create(secondThread, "A", 8, {.parent = 4, .access = 0xF023F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\Wow6432Node\\A");
    story.Create(secondThread, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, AccessFlagsDoNotRedirectA64BitProcess) {
    story.Create(firstThread, "A", 8, {.parent = 4, .access = 0xF023F, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, TheFirstImageDeterminesTheBitness) {
    story.FirstThread(secondProcess, secondThread);
    story.MapImage(secondThread, RequestStory::machine32);
    story.MapImage(secondThread, RequestStory::machine64);
    story.ReachEntryPoint(secondThread);
    story.Create(secondThread, R"(\REGISTRY\Machine\Software\A)", 8, {.status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\Wow6432Node\\A");
}

TEST_F(RequestTrackerTest, AnImageForEitherBitnessRunsIn64Bits) {
    story.FirstThread(secondProcess, secondThread);
    story.MapImage(secondThread, RequestStory::machine32, "03");
    story.ReachEntryPoint(secondThread);
    story.Create(secondThread, R"(\REGISTRY\Machine\Software\A)", 8, {.status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, ALinkThatIsOpenedItselfIsNotFollowed) {
    story.registry.AddLink(softwareKey + L"\\Link", machineKey + L"\\System");
    story.Create(firstThread, "Link", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), machineKey + L"\\System");
    story.Create(firstThread, "Link", 8, {.parent = 4, .attributes = 0x140, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.LastPath(), softwareKey + L"\\Link");
}

TEST_F(RequestTrackerTest, PathsAreLookedUpOnFirstUse) {
    story.listening = false;
    const int questions = story.registry.questions;
    story.Create(firstThread, "A", 8, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    story.Create(firstThread, "B", 12, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    EXPECT_EQ(story.registry.questions, questions);
    story.listening = true;
    EXPECT_EQ(PathOf(12), softwareKey + L"\\A\\B");
}

TEST_F(RequestTrackerTest, AChainOfUnknownPathsHasALimitedLength) {
    story.registry.AddLink(softwareKey + L"\\Round", softwareKey);
    story.listening = false;
    for (int count = 0; count < 1000; ++count) {
        story.Create(firstThread, "Round", 4, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
        for (const auto& [address, key] : story.tracker.OpenKeys()) {
            ASSERT_LE(key->Depth(), 32U);
        }
    }
    story.listening = true;
    EXPECT_EQ(PathOf(4), softwareKey);
}

// Renaming.

TEST_F(RequestTrackerTest, ARenamedKeyAndAllBelowItMove) {
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.Open(firstThread, "B", 12, {.parent = 8, .realPath = R"(REGISTRY\Machine\Software\a\B)"});
    story.Open(firstThread, "AB", 16, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\AB)"});
    story.Create(firstThread, "C", 20, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    reported.clear();
    story.Rename(firstThread, 8, "New");
    ASSERT_EQ(reported.size(), 1U);
    EXPECT_EQ(reported[0].type, registryevent::setInformation);
    EXPECT_EQ(reported[0].newName, L"New");
    EXPECT_EQ(PathOf(8), softwareKey + L"\\New");
    EXPECT_EQ(PathOf(12), softwareKey + L"\\New\\B");
    EXPECT_EQ(PathOf(16), softwareKey + L"\\AB");
    EXPECT_EQ(PathOf(20), softwareKey + L"\\New\\C");
}

// Sixteen keys, because the order in which they are moved is not fixed.
TEST_F(RequestTrackerTest, AKeyBelowARenamedOneWasFoundUnderTheOldName) {
    constexpr std::uint32_t count = 16;
    constexpr std::uint32_t firstLink = 0x100;
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    for (std::uint32_t i = 0; i < count; ++i) {
        const std::wstring number = std::to_wstring(i);
        story.registry.AddLink(softwareKey + L"\\A\\Link" + number, machineKey + L"\\Target" + number);
        story.Create(firstThread, "Link" + std::to_string(i), firstLink + 4 * i,
                     {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    }
    story.Rename(firstThread, 8, "New");
    for (std::uint32_t i = 0; i < count; ++i) {
        EXPECT_EQ(PathOf(firstLink + 4 * i), machineKey + L"\\Target" + std::to_wstring(i));
    }
}

TEST_F(RequestTrackerTest, ARenamingThatFailedMovesNothing) {
    story.Open(firstThread, "A", 8, {.parent = 4, .realPath = R"(REGISTRY\Machine\Software\A)"});
    story.Rename(firstThread, 8, "New", "CANNOT_DELETE");
    EXPECT_EQ(reported.back().status, 0xC0000121U);
    EXPECT_EQ(PathOf(8), softwareKey + L"\\A");
}

TEST_F(RequestTrackerTest, RenamingThroughAHandleOfNoKeyIsIgnored) {
    story.Rename(firstThread, 0x88, "New");
    EXPECT_TRUE(reported.empty());
}

TEST_F(RequestTrackerTest, AStartedProcessIsReportedWithItsParentAndItsImage) {
    story.reported.wants = false;
    story.NewProcess(firstThread, secondProcess, 0x60, 0, {}, 0, "child.exe");
    story.NewProcess(firstThread, 0x40, 0x64);
    ASSERT_EQ(story.reported.starts.size(), 2U);
    EXPECT_EQ(story.reported.starts[0].processId, secondProcess);
    EXPECT_EQ(story.reported.starts[0].parentId, firstProcess);
    EXPECT_EQ(story.reported.starts[0].imageName, L"child.exe");
    EXPECT_EQ(story.reported.starts[1].imageName, L"");
}

TEST_F(RequestTrackerTest, AProcessMayBeStartedForAnotherParent) {
    story.Process(secondProcess, secondThread);
    story.OpenProcess(firstThread, secondProcess, 0x60);
    story.NewProcess(firstThread, 0x40, 0x64, 0, {}, 0x60);
    ASSERT_EQ(story.reported.starts.size(), 1U);
    EXPECT_EQ(story.reported.starts[0].parentId, secondProcess);
}

} // namespace
} // namespace keyreap
