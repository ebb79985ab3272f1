#include "etl/etlreader.h"
#include "etl/etlwriter.h"
#include "etl/registryevent.h"
#include "hostlogger/requestrecorder.h"
#include "hostlogger/requestsummary.h"
#include "platform/os/littleendian.h"
#include "tests/native/fuzzinput.h"

#include <array>
#include <set>
#include <sstream>
#include <string>
#include <string_view>
#include <vector>

using namespace keyreap;

namespace {

using Bytes = std::vector<std::byte>;

constexpr std::size_t keyHandleOffset = 16; // in a registry event's payload

// A registry in which any path may be a key or a link. Links lead anywhere, also in circles.
class FuzzedRegistry : public KeyFacts {
public:
    explicit FuzzedRegistry(std::uint8_t seed) : seed(seed) {}

    bool Exists(const std::wstring& path) override { return Number(path) % 3 != 0; }

    std::optional<std::wstring> LinkTarget(const std::wstring& path) override {
        static const std::array<std::wstring, 5> targets = {
            L"", L"\\A\\4", L"\\REGISTRY\\Machine\\Software\\Classes\\Wow6432Node", path, path + L"\\4"};
        const std::size_t number = Number(path);
        return number % 7 == 0 ? std::optional(targets[number / 7 % targets.size()]) : std::nullopt;
    }

private:
    std::size_t Number(const std::wstring& path) const {
        std::size_t number = seed;
        for (const wchar_t unit : path) {
            number = number * 31 + static_cast<std::size_t>(unit);
        }
        return number;
    }

    std::size_t seed;
};

// Checks what a tracker reports.
class CheckingListener : public KeyRequestListener {
public:
    explicit CheckingListener(KeyRequestListener& next) : next(next) {}

    void OnKeyRequest(const KeyRequest& request) override {
        const bool finds = request.type == registryevent::createKey || request.type == registryevent::openKey;
        fuzz::Require(finds || request.key);
        fuzz::Require(request.processId != 0);
        fuzz::Require(!request.key || request.key->Depth() <= 32);
        fuzz::Require(request.status != 0x40000000);
        next.OnKeyRequest(request);
    }
    void OnLostLines() override { next.OnLostLines(); }
    void OnMissingKey(const std::wstring& name) override { next.OnMissingKey(name); }

private:
    KeyRequestListener& next;
};

class MemoryLog : public EtlSink, public EtlSource {
public:
    bool Write(std::uint64_t offset, std::span<const std::byte> from) override {
        bytes.resize(std::max<std::size_t>(bytes.size(), offset + from.size()));
        std::ranges::copy(from, bytes.begin() + static_cast<std::ptrdiff_t>(offset));
        return true;
    }

    std::uint64_t Size() const override { return bytes.size(); }

    bool Read(std::uint64_t offset, std::span<std::byte> to) override {
        std::copy_n(bytes.begin() + static_cast<std::ptrdiff_t>(offset), to.size(), to.begin());
        return true;
    }

private:
    Bytes bytes;
};

// Checks that every control block of an event has a name somewhere in the log.
class BlockNames : public EtlListener {
public:
    void OnEvent(const EtlEvent& event) override {
        if (count++ == 0) {
            return; // the log header
        }
        const auto block = LoadNumber<std::uint64_t>(event.payload, keyHandleOffset);
        (event.type == registryevent::kcbCreate || event.type == registryevent::kcbRundownEnd ? named : used)
            .insert(block);
    }

    void Check() const {
        for (const std::uint64_t block : used) {
            fuzz::Require(block == 0 || named.contains(block));
        }
    }

private:
    std::size_t count = 0;
    std::set<std::uint64_t> named;
    std::set<std::uint64_t> used;
};

void CheckLog(MemoryLog& log, const EtlWriter& writer) {
    EtlReader reader(log);
    fuzz::Require(reader.Open());
    BlockNames names;
    fuzz::Require(reader.Process(names));
    fuzz::Require(reader.Statistics().damagedBuffers == 0);
    if (writer.EventsLost() == 0) {
        names.Check();
    }
}

// Templates of meaningful lines. A digit replaces each % and a name each @.
constexpr std::array<std::string_view, 36> lineTemplates = {
    "2%: init_first_thread( unix_pid=1 )",
    "2%: init_first_thread() = 0 { pid=1%, tid=2% }",
    "2%: get_mapping_info( handle=000% )",
    "2%: get_mapping_info() = 0 { image={machine=014c,image_flags=0%} }",
    "2%: get_process_debug_info( handle=ffffffff )",
    "2%: get_process_debug_info() = 0 { debug=0000 }",
    "2%: new_process( parent_process=000%, flags=0000000%, handles={0000000%}, jobs={} )",
    "2%: new_process() = 0 { info=005c, pid=1%, handle=000% }",
    "2%: new_process( parent_process=0000, flags=00000004, handles={}, jobs={} )",
    "2%: new_thread( process=000%, flags=1 )",
    "2%: new_thread() = 0 { tid=2%, handle=000% }",
    "2%: open_process( pid=1%, access=1 )",
    "2%: open_process() = 0 { handle=000% }",
    "2%: create_key( access=000f0%3f, objattr={rootdir=000%,attributes=0000014%,sd={},name=L\"@\"}, "
    "class=L\"\" )",
    "2%: create_key() = OBJECT_NAME_EXISTS { hkey=000% }",
    "2%: create_key() = 0 { hkey=000% }",
    "2%: create_key() = ACCESS_DENIED { hkey=0000 }",
    "2%: open_key( parent=000%, access=00020%19, attributes=0000014%, name=L\"@\" )",
    "2%: open_key() = 0 { hkey=000% }",
    "2%: open_key() = OBJECT_NAME_NOT_FOUND { hkey=0000 }",
    "Open key REGISTRY\\\\@",
    "Create key REGISTRY\\\\Machine\\\\@",
    "2%: set_key_value( hkey=000%, type=4, namelen=2, name=L\"@\" )",
    "2%: set_key_value() = 0",
    "2%: delete_key( hkey=000% )",
    "2%: delete_key() = 0",
    "2%: rename_key( hkey=000%, name=L\"@\" )",
    "2%: rename_key() = 0",
    "2%: close_handle( handle=000% )",
    "2%: close_handle() = 0",
    "2%: dup_handle( src_process=000%, src_handle=000%, dst_process=ffffffff, attributes=0%, options=0% )",
    "2%: dup_handle() = 0 { handle=000% }",
    "2%: set_handle_info( handle=000%, flags=%, mask=1 )",
    "2%: set_handle_info() = 0 { old_flags=0 }",
    "2%: *killed* exit_code=0",
    "1%: *process killed*",
};

constexpr std::array<std::string_view, 8> lineNames = {"",
                                                       "A",
                                                       "\\\\Registry\\\\Machine",
                                                       "\\\\REGISTRY\\\\Machine\\\\Software\\\\Classes",
                                                       "Wow6432Node",
                                                       "4",
                                                       "Software\\\\A",
                                                       "\\\\A\\\\4\\\\\\\\B"};

std::string FilledLine(fuzz::Input& input) {
    return fuzz::FilledLine(input, lineTemplates, lineNames);
}

std::string RawLine(fuzz::Input& input) {
    std::string line;
    while (!input.IsEmpty()) {
        const char letter = static_cast<char>(input.Byte());
        if (letter == '\n') {
            break;
        }
        line += letter;
    }
    return line;
}

// Whatever the log, its summary is read to its end.
void CheckSummary(const RequestTracker& tracker, KeyFacts& facts) {
    constexpr std::string_view mark = R"(\REGISTRY\Keyreap mark 32 9)";
    std::string summary;
    if (!AppendSummary(tracker, mark, summary)) {
        fuzz::Require(summary.empty());
        return;
    }
    RequestTracker resumed(facts);
    resumed.AwaitSummary(mark);
    std::istringstream lines(summary);
    for (std::string line; std::getline(lines, line);) {
        resumed.Feed(line, nullptr);
    }
    fuzz::Require(!resumed.AwaitsSummary());
    fuzz::Require(resumed.Processes().All().size() == tracker.Processes().All().size());
}

} // namespace

// The input is a registry, then the lines of a request log: verbatim, or as fillings of templates; with or
// without a known start.
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    FuzzedRegistry registry(input.Byte());
    const std::uint8_t choices = input.Byte();
    const bool raw = choices % 2 == 0;
    MemoryLog log;
    EtlLogHeader header;
    header.bufferSize = 8192; // soon full, but large enough for most names
    EtlWriter writer(log, header);
    fuzz::Require(writer.Begin(1, 2, 3));
    RequestRecorder recorder(writer, registry, 1);
    CheckingListener listener(recorder);
    RequestTracker tracker(registry);
    if (choices % 4 >= 2) {
        tracker.SetSystemStart(SystemStart::OfNoChanges());
    }
    while (!input.IsEmpty()) {
        tracker.Feed(raw ? RawLine(input) : FilledLine(input), &listener);
    }
    CheckSummary(tracker, registry);
    recorder.RunDown(tracker);
    fuzz::Require(writer.Finish(9));
    CheckLog(log, writer);
    return 0;
}
