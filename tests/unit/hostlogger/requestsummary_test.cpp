#include "hostlogger/requestsummary.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

#include <span>
#include <sstream>

namespace keyreap {
namespace {

using Lines = std::vector<std::string>;

constexpr std::string_view mark = R"(\REGISTRY\Keyreap mark 32 4711)";

void FeedAll(RequestTracker& tracker, std::span<const std::string> lines, KeyRequestListener* listener) {
    for (const std::string& line : lines) {
        tracker.Feed(line, listener);
    }
}

Lines SummaryOf(const RequestTracker& tracker) {
    std::string text;
    AppendSummary(tracker, mark, text);
    Lines lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) {
        lines.push_back(line);
    }
    return lines;
}

std::wstring PathOf(const std::shared_ptr<const OpenKey>& key, KeyFacts& facts) {
    return key ? key->Path(facts) : L"none";
}

// What a tracker reports of lines, a text for each request.
std::vector<std::wstring> Reports(RequestTracker& tracker, std::span<const std::string> lines) {
    RegistryModel registry = MachineWithNodes();
    RecordingRequests recorded;
    FeedAll(tracker, lines, &recorded);
    std::vector<std::wstring> texts;
    for (const KeyRequest& request : recorded.requests) {
        std::wostringstream text;
        text << request.type << L' ' << request.processId << L' ' << request.threadId << L' '
             << request.machine << L' ' << static_cast<int>(request.origin) << L' ' << request.status << L' '
             << request.time << L' ' << PathOf(request.key, registry) << L' '
             << PathOf(request.parent, registry) << L' ' << request.name;
        texts.push_back(text.str());
    }
    return texts;
}

// Cuts a log at each of its lines. A tracker that has only the summary of what is before reports the same of
// the rest as one that has read all.
void ExpectSummaries(const Lines& lines, bool reportsStarts) {
    for (std::size_t cut = 0; cut <= lines.size(); ++cut) {
        RegistryModel registry = MachineWithNodes();
        Strictness strictness;
        strictness.system = reportsStarts;
        const std::span<const std::string> all(lines);
        RequestTracker whole(registry);
        whole.SetStrictness(strictness);
        FeedAll(whole, all.first(cut), nullptr);
        const Lines summary = SummaryOf(whole);
        ASSERT_FALSE(summary.empty()) << cut;
        RequestTracker resumed(registry);
        resumed.SetStrictness(strictness);
        resumed.AwaitSummary(mark);
        FeedAll(resumed, summary, nullptr);
        EXPECT_EQ(Reports(resumed, all.subspan(cut)), Reports(whole, all.subspan(cut))) << cut;
        EXPECT_EQ(resumed.OpenKeys().empty(), whole.OpenKeys().empty()) << cut;
    }
}

void ExpectSummariesEverywhere(const Lines& lines) {
    ExpectSummaries(lines, false);
    ExpectSummaries(lines, true);
}

// Every handle is used once more, so that it shows what it refers to.
void UseHandles(RequestStory& story, std::uint32_t thread) {
    for (std::uint32_t handle = 4; handle <= 48; handle += 4) {
        story.SetValue(thread, handle, "V");
        story.Create(thread, "Sub", 200,
                     {.parent = handle, .access = 0x2023F, .status = "OBJECT_NAME_EXISTS"});
        story.SetValue(thread, 200, "W");
    }
}

TEST(RequestSummary, LeadsToTheSameHandles) {
    RequestStory story;
    story.Line("time 1000");
    story.Process(0x20, 0x24);
    story.Open(0x24, R"(\Registry\Machine)", 4, {.realPath = R"(REGISTRY\Machine)"});
    story.Create(0x24, R"(Software\A)", 8, {.parent = 4, .attributes = 0x42, .status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "B \"[1]\"", 12, {.parent = 8, .realPath = R"(REGISTRY\Machine\Software\A\B "[1]")"});
    story.Create(0x24, R"(\Registry\User)", 36, {.status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "Name", 40, {.parent = 36, .status = "OBJECT_NAME_EXISTS"});
    story.Duplicate(0x24, RequestStory::self, 12, RequestStory::self, 16, 1);
    story.SetHandleInfo(0x24, 16, 1, 1);
    story.NewProcess(0x24, 0x30, 20, 4, "00000008,00000010");
    story.NewThread(0x24, 20, 0x34);
    story.Line("time 2000");
    story.OpenProcess(0x34, 0x20, 28);
    story.SetHandleInfo(0x34, 28, 1, 1);
    story.Duplicate(0x34, 28, 4, RequestStory::self, 32);
    story.NewProcess(0x34, 0x50, 44, 4);
    story.NewThread(0x34, 44, 0x54);
    story.Duplicate(0x54, 28, 4, RequestStory::self, 48);
    UseHandles(story, 0x54);
    UseHandles(story, 0x24);
    UseHandles(story, 0x34);
    story.Close(0x34, 16);
    story.KillThread(0x34);
    story.KillProcess(0x30);
    UseHandles(story, 0x24);
    ExpectSummariesEverywhere(story.lines);
}

TEST(RequestSummary, LeadsToTheSameViewsOfA32BitProcess) {
    RequestStory story;
    story.Process(0x20, 0x24, RequestStory::machine32);
    story.Create(0x24, R"(\Registry\Machine)", 4, {.access = 0x2021F, .status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "Software", 8, {.parent = 4, .access = 0x2021F, .status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "A", 12, {.parent = 8, .access = 0x2011F, .status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "B", 16,
                 {.parent = 12, .access = 0x2001F, .attributes = 0x140, .status = "OBJECT_NAME_EXISTS"});
    story.Open(0x24, R"(\Registry\Machine\Software)", 20, {.access = 0x2001F});
    story.Create(0x24, "C", 24, {.parent = 20, .access = 0x2001F, .status = "OBJECT_NAME_EXISTS"});
    story.Close(0x24, 8);
    story.Close(0x24, 20);
    UseHandles(story, 0x24);
    ExpectSummariesEverywhere(story.lines);
}

TEST(RequestSummary, HasTheRequestsThatWaitForTheirReply) {
    RequestStory story;
    story.Process(0x20, 0x24);
    story.Line(
        R"(0024: open_key( parent=0000, access=00000001, attributes=00000040, name=L"\\Registry\\A" ))");
    story.Line(R"(Open key REGISTRY\\A)");
    story.Line("0024: open_key() = 0 { hkey=0004 }");
    UseHandles(story, 0x24);
    ExpectSummariesEverywhere(story.lines);
}

TEST(RequestSummary, HasTheKeysThatA32BitProcessOpenedBeforeItMappedItsImage) {
    RequestStory story;
    story.FirstThread(0x20, 0x24);
    story.Create(0x24, R"(\Registry\Machine)", 4, {.status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "Software", 8, {.parent = 4, .attributes = 0x42, .status = "OBJECT_NAME_EXISTS"});
    story.MapImage(0x24, RequestStory::machine32);
    story.ReachEntryPoint(0x24);
    story.Create(0x24, "A", 12, {.parent = 8, .status = "OBJECT_NAME_EXISTS"});
    story.Close(0x24, 4);
    UseHandles(story, 0x24);
    ExpectSummariesEverywhere(story.lines);
}

TEST(RequestSummary, HasTheKeysThatA32BitProcessGotFromA64BitOne) {
    RequestStory story;
    story.Process(0x20, 0x24);
    story.Process(0x30, 0x34, RequestStory::machine32);
    story.Create(0x24, R"(\Registry\Machine)", 4, {.status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "Software", 12, {.parent = 4, .status = "OBJECT_NAME_EXISTS"});
    story.OpenProcess(0x24, 0x30, 8);
    story.Duplicate(0x24, RequestStory::self, 12, 8, 16);
    UseHandles(story, 0x34);
    ExpectSummariesEverywhere(story.lines);
}

TEST(RequestSummary, IsMissingWhereAKeyIsOpenInAViewThatItsProcessNeverHad) {
    RequestStory story;
    story.Process(0x20, 0x24, RequestStory::machine32);
    story.Process(0x30, 0x34);
    story.Create(0x24, R"(\Registry\Machine)", 4, {.status = "OBJECT_NAME_EXISTS"});
    story.OpenProcess(0x24, 0x30, 8);
    EXPECT_FALSE(SummaryOf(story.tracker).empty());
    story.Duplicate(0x24, RequestStory::self, 4, 8, 4);
    EXPECT_TRUE(SummaryOf(story.tracker).empty());
}

TEST(RequestSummary, NothingCountsBeforeTheSummaryThatIsAwaited) {
    RequestStory story;
    story.Process(0x20, 0x24);
    story.Open(0x24, R"(\Registry\Machine)", 4, {.realPath = R"(REGISTRY\Machine)"});
    Lines lines = story.lines;
    lines.push_back(R"(summary of \REGISTRY\Keyreap mark 32 4710)");
    lines.insert(lines.end(), story.lines.begin(), story.lines.end());
    lines.emplace_back("end of summary");
    RegistryModel registry;
    RequestTracker tracker(registry);
    tracker.AwaitSummary(mark);
    FeedAll(tracker, lines, nullptr);
    EXPECT_TRUE(tracker.AwaitsSummary());
    EXPECT_TRUE(tracker.OpenKeys().empty());
}

TEST(RequestSummary, HasNoEffectIfNobodyAwaitsIt) {
    RequestStory story;
    story.Process(0x20, 0x24);
    story.Line(R"(summary of \REGISTRY\Keyreap mark 32 4711)");
    story.Open(0x24, R"(\Registry\Machine)", 4, {.realPath = R"(REGISTRY\Machine)"});
    story.Line("end of summary");
    EXPECT_TRUE(story.tracker.OpenKeys().empty());
    story.Open(0x24, R"(\Registry\Machine)", 4, {.realPath = R"(REGISTRY\Machine)"});
    EXPECT_EQ(story.tracker.OpenKeys().size(), 1U);
}

TEST(MarkOf, IsTheMarkThatARequestAsksFor) {
    EXPECT_EQ(MarkOf(R"(0024: open_key( parent=0000, access=00000101, attributes=00000140, )"
                     R"(name=L"\\REGISTRY\\Keyreap mark 32 4711" ))"),
              mark);
}

TEST(MarkOf, IsNothingForOtherLines) {
    EXPECT_FALSE(MarkOf(R"(0024: open_key( parent=0000, name=L"\\REGISTRY\\Machine" ))"));
    EXPECT_FALSE(MarkOf(R"(0024: open_key( parent=0000, name=L"\\REGISTRY\\Keyreap mark 32 4711x" ))"));
    EXPECT_FALSE(MarkOf(R"(0024: open_key( parent=0000, name=L"\\REGISTRY\\Keyreap mark 32)"));
    EXPECT_FALSE(MarkOf(R"(0024: set_key_value( hkey=0004, name=L"\\REGISTRY\\Keyreap mark 32 4711" ))"));
}

} // namespace
} // namespace keyreap
