#include "etl/etlclasses.h"
#include "etl/etlreader.h"
#include "etl/etlwriter.h"
#include "tests/native/fuzzinput.h"

#include <vector>

using namespace keyreap;

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t bufferSize = 1024;

// A log that ends where its memory ends. Reading anything else fails.
class FuzzedSource : public EtlSource {
public:
    explicit FuzzedSource(std::span<const std::byte> content) : bytes(content.begin(), content.end()) {}

    std::uint64_t Size() const override { return bytes.size(); }

    bool Read(std::uint64_t offset, std::span<std::byte> to) override {
        fuzz::Require(offset <= bytes.size() && to.size() <= bytes.size() - offset);
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), to.size(), to.begin());
        return true;
    }

private:
    Bytes bytes;
};

class AppendingSink : public EtlSink {
public:
    bool Write(std::uint64_t, std::span<const std::byte> from) override {
        bytes.insert(bytes.end(), from.begin(), from.end());
        return true;
    }

    Bytes bytes;
};

// Reads every byte that it gets.
class Examiner : public EtlListener {
public:
    void OnEvent(const EtlEvent& event) override {
        const bool logHeader = event.guid == etlclass::eventTrace && event.type == 0;
        fuzz::Require(events != 0 || logHeader);
        fuzz::Require(event.pointerSize == 4 || event.pointerSize == 8);
        fuzz::Require(event.payload.size() <= 0xFFFF);
        Bytes copy(event.payload.begin(), event.payload.end());
        fuzz::Require(copy.size() == event.payload.size());
        ++events;
    }

    bool OnBuffer() override {
        ++buffers;
        return true;
    }

    std::uint64_t events = 0;
    std::uint64_t buffers = 0;
};

void ReadLog(std::span<const std::byte> log) {
    FuzzedSource source(log);
    EtlReader reader(source);
    if (!reader.Open()) {
        return;
    }
    for (int round = 0; round < 2; ++round) {
        Examiner examiner;
        fuzz::Require(reader.Process(examiner));
        const EtlStatistics& found = reader.Statistics();
        fuzz::Require(found.events == examiner.events && found.events >= 1);
        fuzz::Require(found.buffers == examiner.buffers && found.damagedBuffers <= found.buffers);
    }
}

// A valid first buffer, then the input as buffers of the right size, so that inputs get past the checks that
// most bytes fail.
Bytes WithValidHead(std::span<const std::byte> buffers, bool circular) {
    AppendingSink sink;
    EtlLogHeader header;
    header.bufferSize = bufferSize;
    header.logFileMode = circular ? 2 : 1;
    EtlWriter(sink, header).Begin(1, 2, 3);
    Bytes log = sink.bytes;
    log.insert(log.end(), buffers.begin(), buffers.end());
    for (std::size_t at = bufferSize; at + 4 <= log.size(); at += bufferSize) {
        log[at] = log[at + 2] = log[at + 3] = std::byte{0};
        log[at + 1] = std::byte{bufferSize >> 8};
    }
    return log;
}

} // namespace

// The input is a complete log, or the buffers after a valid first one.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::uint8_t form = input.Byte() % 3;
    const std::span<const std::byte> rest = input.TakeRest();
    if (form == 0) {
        ReadLog(rest);
    } else {
        ReadLog(WithValidHead(rest, form == 1));
    }
    return 0;
}
