#include "benchmarks/machinelog.h"

#include "etl/etlfile.h"
#include "etl/etlwriter.h"
#include "trace/traceevent.h"

#include <array>
#include <cstdio>
#include <string>
#include <string_view>

namespace keyreap {

namespace {

constexpr std::uint32_t systemProcess = 4;
constexpr std::uint32_t firstOtherProcess = 1000;
constexpr std::uint32_t otherProcesses = 60;
constexpr std::uint64_t otherKeys = 50'000;  // their handles are reused, like addresses of the kernel's pool
constexpr std::uint64_t eventsOfName = 100;  // one in this many events of other processes names a handle
constexpr std::uint64_t keysOfLateName = 16; // one in this many keys was open before: the rundown names it

constexpr std::uint64_t classesHandle = 0xFFFFA00000001000;
constexpr std::uint64_t ourHandles = 0xFFFFA10000000000;
constexpr std::uint64_t otherHandles = 0xFFFFA20000000000;
constexpr std::uint64_t handleDistance = 0x90;

constexpr std::wstring_view classesPath = L"\\REGISTRY\\MACHINE\\SOFTWARE\\Classes";
constexpr std::wstring_view componentPath =
    L"\\REGISTRY\\MACHINE\\SOFTWARE\\Microsoft\\Windows\\CurrentVersion\\Component ";

struct Step {
    std::uint8_t type;
    std::wstring_view name;
};

// The operations on each of our keys after its creation.
constexpr std::array<Step, MachineLog::operationsOfKey - 1> ourSteps{{
    {registryevent::setValue, L""},
    {registryevent::setValue, L"LocalizedString"},
    {registryevent::queryValue, L"AppID"},
    {registryevent::setValue, L"AppID"},
    {registryevent::openKey, L"InprocServer32"},
    {registryevent::setValue, L"ThreadingModel"},
    {registryevent::close, L""},
}};

constexpr std::array<Step, 6> otherSteps{{
    {registryevent::openKey,
     L"Software\\Microsoft\\Windows NT\\CurrentVersion\\Image File Execution Options"},
    {registryevent::queryValue, L"DisableUserModeCallbackFilter"},
    {registryevent::queryKey, L""},
    {registryevent::openKey, L"System\\CurrentControlSet\\Control\\Session Manager"},
    {registryevent::queryValue, L"SafeDllSearchMode"},
    {registryevent::close, L""},
}};

// CLSID\{...} by number.
std::wstring ClassKey(std::uint64_t number) {
    std::array<char, 64> text{};
    const int length =
        std::snprintf(text.data(), text.size(), "CLSID\\{%08X-7A1C-11D2-9B53-00C04F%06X}",
                      static_cast<std::uint32_t>(number * 2654435761U), static_cast<std::uint32_t>(number));
    return {text.begin(), text.begin() + length};
}

// Writes the events of the log, in their order.
class EventSequence {
public:
    EventSequence(EtlWriter& writer, const MachineLog& log) : writer(writer), log(log) {}

    // The names of handles that belong to no operation come first and last. All other events are evenly
    // spread.
    bool Write() {
        const std::uint64_t lateNames = (log.OurKeys() + keysOfLateName - 1) / keysOfLateName;
        const std::uint64_t others = log.events - lateNames - 1;
        bool good = Name(registryevent::kcbCreate, classesHandle, std::wstring(classesPath));
        for (std::uint64_t place = 0; place < others && good; ++place) {
            const bool isOurs = (place + 1) * log.ours / others > place * log.ours / others;
            good = isOurs ? WriteOurs() : WriteOther(place);
        }
        for (std::uint64_t key = 0; key < log.OurKeys() && good; key += keysOfLateName) {
            good = NameOurs(registryevent::kcbRundownEnd, key);
        }
        return good;
    }

private:
    std::uint64_t KeyOf(std::uint64_t operation) const {
        return operation / MachineLog::operationsOfKey % log.OurKeys();
    }

    bool WriteOurs() {
        const std::uint64_t key = KeyOf(written);
        const std::uint64_t step = written % MachineLog::operationsOfKey;
        ++written;
        if (step == 0) {
            unnamed = key % keysOfLateName != 0;
            return Add(registryevent::createKey, MachineLog::ourProcess, classesHandle, ClassKey(key));
        }
        const Step& next = ourSteps[step - 1];
        return Add(next.type, MachineLog::ourProcess, ourHandles + key * handleDistance, next.name);
    }

    bool WriteOther(std::uint64_t place) {
        if (unnamed) {
            unnamed = false;
            return NameOurs(registryevent::kcbCreate, KeyOf(written - 1));
        }
        const std::uint64_t handle = otherHandles + place % otherKeys * handleDistance;
        if (place % eventsOfName == 0) {
            return Name(registryevent::kcbCreate, handle,
                        std::wstring(componentPath) + std::to_wstring(place % otherKeys));
        }
        const Step& step = otherSteps[place % otherSteps.size()];
        return Add(step.type, firstOtherProcess + static_cast<std::uint32_t>(place % otherProcesses), handle,
                   step.name);
    }

    bool NameOurs(std::uint8_t type, std::uint64_t key) {
        return Name(type, ourHandles + key * handleDistance,
                    std::wstring(classesPath) + L'\\' + ClassKey(key));
    }

    bool Name(std::uint8_t type, std::uint64_t handle, const std::wstring& path) {
        return Add(type, systemProcess, handle, path);
    }

    bool Add(std::uint8_t type, std::uint32_t process, std::uint64_t handle, std::wstring_view name) {
        EtlRegistryEvent event;
        event.type = type;
        event.time = ++time;
        event.initialTime = time;
        event.processId = process;
        event.threadId = process + 4;
        event.keyHandle = handle;
        event.keyName = name;
        return writer.Write(event);
    }

    EtlWriter& writer;
    const MachineLog& log;
    std::uint64_t written = 0; // of our operations
    bool unnamed = false;      // the key created last waits for its name
    std::int64_t time = 0;
};

} // namespace

bool MachineLog::Write(const std::filesystem::path& path) const {
    EtlFileSink sink(path);
    EtlWriter writer(sink, EtlLogHeader{});
    EventSequence sequence(writer, *this);
    const bool written = writer.Begin(0, systemProcess, systemProcess) && sequence.Write();
    return writer.Finish(0) && sink.Close() && written;
}

} // namespace keyreap
