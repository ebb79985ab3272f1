#include "etl/registryevent.h"
#include "hostlogger/requestrecorder.h"
#include "platform/os/littleendian.h"
#include "tests/unit/etl/memorylog.h"
#include "tests/unit/hostlogger/requeststory.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <random>
#include <set>

namespace keyreap {
namespace {

using Lines = std::vector<std::string>;

// The lines of a log with every kind of request.
Lines GoodLog() {
    RequestStory story;
    story.Line("time 1000");
    story.Process(0x20, 0x24);
    story.Open(0x24, R"(\Registry\Machine)", 4, {.realPath = R"(REGISTRY\Machine)"});
    story.Create(0x24, R"(Software\A)", 8, {.parent = 4, .attributes = 0x42, .status = "OBJECT_NAME_EXISTS"});
    story.Create(0x24, "B", 12, {.parent = 8, .realPath = R"(REGISTRY\Machine\Software\A\B)"});
    story.SetValue(0x24, 12, "V[\"1\"]");
    story.Duplicate(0x24, RequestStory::self, 12, RequestStory::self, 16, 1);
    story.SetHandleInfo(0x24, 16, 1, 1);
    story.NewProcess(0x24, 0x30, 20, 4, "00000008,00000010");
    story.NewThread(0x24, 20, 0x34);
    story.MapImage(0x34, RequestStory::machine32);
    story.ReachEntryPoint(0x34);
    story.Line("time 2000");
    story.Create(0x34, R"(Software\C)", 24, {.parent = 8, .access = 0x2023F, .status = "OBJECT_NAME_EXISTS"});
    story.Rename(0x34, 16, "New");
    story.DeleteValue(0x34, 16, "V");
    story.QueryValue(0x34, 16, "V");
    story.OpenProcess(0x34, 0x20, 28);
    story.Duplicate(0x34, 28, 8, RequestStory::self, 32);
    story.DeleteKey(0x34, 32);
    story.Open(0x34, R"(\REGISTRY\Missing)", 0, {.status = "OBJECT_NAME_NOT_FOUND"});
    story.Close(0x34, 16);
    story.KillThread(0x34);
    story.KillProcess(0x30);
    return story.lines;
}

bool NamesBlock(const EtlEvent& event) {
    return event.type == registryevent::kcbCreate || event.type == registryevent::kcbRundownEnd;
}

std::uint64_t BlockOf(const EtlEvent& event) {
    constexpr std::size_t keyHandle = 16;
    return LoadNumber<std::uint64_t>(event.payload, keyHandle);
}

// Whatever the lines, the recorded log can be read, and every control block in it has a name.
void RecordAndRead(const Lines& lines) {
    RegistryModel registry = MachineWithNodes();
    MemorySink sink;
    EtlLogHeader header;
    header.bufferSize = 4096;
    EtlWriter writer(sink, header);
    ASSERT_TRUE(writer.Begin(1, 2, 3));
    RequestRecorder recorder(writer, registry, 1);
    RequestTracker tracker(registry);
    for (const std::string& line : lines) {
        tracker.Feed(line, &recorder);
    }
    recorder.RunDown(tracker);
    ASSERT_TRUE(writer.Finish(9));

    std::set<std::uint64_t> named{0};
    std::set<std::uint64_t> used;
    RecordingListener listener = ReadAll(sink.bytes);
    for (std::size_t at = 1; at < listener.events.size(); ++at) {
        RecordingListener::Event& event = listener.events[at];
        event.payload = event.bytes;
        (NamesBlock(event) ? named : used).insert(BlockOf(event));
    }
    EXPECT_TRUE(std::ranges::includes(named, used));
}

TEST(DamagedRequestLog, AnIntactLogIsRecorded) {
    RecordAndRead(GoodLog());
}

TEST(DamagedRequestLog, EveryLineMayBeMissing) {
    const Lines good = GoodLog();
    for (std::size_t missing = 0; missing < good.size(); ++missing) {
        Lines lines = good;
        lines.erase(lines.begin() + static_cast<std::ptrdiff_t>(missing));
        RecordAndRead(lines);
    }
}

TEST(DamagedRequestLog, EveryLineMayBeTruncated) {
    const Lines good = GoodLog();
    for (std::size_t cut = 0; cut < good.size(); ++cut) {
        Lines lines = good;
        lines[cut].resize(lines[cut].size() * 2 / 3);
        RecordAndRead(lines);
    }
}

TEST(DamagedRequestLog, LinesMayComeInAnyOrder) {
    Lines lines = GoodLog();
    std::mt19937 random(1);
    for (int round = 0; round < 100; ++round) {
        std::ranges::shuffle(lines, random);
        RecordAndRead(lines);
    }
}

TEST(DamagedRequestLog, BytesMayBeAnything) {
    const Lines good = GoodLog();
    std::mt19937 random(1);
    for (int round = 0; round < 300; ++round) {
        Lines lines = good;
        for (int count = 0; count < 10; ++count) {
            std::string& line = lines[random() % lines.size()];
            line[random() % line.size()] = static_cast<char>(random());
        }
        RecordAndRead(lines);
    }
}

} // namespace
} // namespace keyreap
