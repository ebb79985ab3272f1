#include "hostlogger/requestsummary.h"

#include "hostlogger/requestwords.h"

#include <algorithm>

namespace keyreap {

namespace {

// Ids and handles that no server gives out.
constexpr std::uint32_t summaryThread = 0xFFFFFFF0;
constexpr std::uint32_t unknownHandle = 0xFFFFFFF4;
constexpr std::uint32_t firstTemporary = 0xF0000004;

constexpr std::uint32_t currentProcess = 0xFFFFFFFF;
constexpr std::uint32_t objInherit = 0x2;        // ntdef.h
constexpr std::uint32_t objOpenLink = 0x100;     // ntdef.h
constexpr std::uint32_t keyWow64_64Key = 0x0100; // winnt.h
constexpr std::uint32_t keyWow64_32Key = 0x0200; // winnt.h

std::string Hex(std::uint32_t number) {
    constexpr std::string_view digits = "0123456789abcdef";
    std::string text;
    for (int shift = 28; shift >= 0; shift -= 4) {
        text += digits[(number >> shift) & 0xFU];
    }
    return text;
}

// In the server's escapes.
std::string Escaped(std::wstring_view text) {
    constexpr std::wstring_view special = L"\"[]";
    std::string escaped;
    for (const wchar_t unit : text) {
        if (unit == L'\\') {
            escaped += R"(\\)";
        } else if (unit >= L' ' && unit <= L'~' && special.find(unit) == std::wstring_view::npos) {
            escaped += static_cast<char>(unit);
        } else {
            escaped += R"(\x)" + Hex(static_cast<std::uint16_t>(unit)).substr(4);
        }
    }
    return escaped;
}

class SummaryWriter {
public:
    explicit SummaryWriter(std::string& lines) : lines(lines) {}

    bool AddProcess(std::uint32_t id, const ServerProcess& process) {
        AddThread(summaryThread, id);
        bool added = AddHandles(process, Moment::beforeImage);
        if (process.machine != 0) {
            Ask("get_mapping_info", "");
            Answer("get_mapping_info", "image={machine=" + Hex(process.machine) + ",image_flags=00}");
        }
        if (process.started) {
            Ask("get_process_debug_info", "handle=" + Hex(currentProcess));
            Answer("get_process_debug_info", "");
        }
        added = added && AddHandles(process, Moment::afterImage);
        lines += Hex(summaryThread) + ": *killed* exit_code=0\n";
        return added && process.startChanges.empty();
    }

    void AddThread(std::uint32_t thread, std::uint32_t process) {
        lines += Hex(thread) + ": init_first_thread( )\n";
        lines += Hex(thread) + ": init_first_thread() = 0 { pid=" + Hex(process) + " }\n";
    }

private:
    // A process has the 32-bit view only once it has mapped its image.
    enum class Moment { beforeImage, afterImage };

    void Ask(std::string_view name, const std::string& fields) {
        lines.append(Hex(summaryThread)).append(": ").append(name).append("( ").append(fields).append(" )\n");
    }

    void Answer(std::string_view name, const std::string& fields) {
        lines.append(Hex(summaryThread)).append(": ").append(name).append("() = 0");
        lines.append(fields.empty() ? "\n" : " { " + fields + " }\n");
    }

    bool AddHandles(const ServerProcess& process, Moment moment) {
        const ServerProcess asItIs = {{}, moment == Moment::beforeImage ? std::uint16_t{0} : process.machine};
        return std::ranges::all_of(process.handles, [&](const auto& entry) {
            return MomentOf(process, entry.second) != moment || AddHandle(asItIs, entry.first, entry.second);
        });
    }

    // When the process could open the handle's key in the view that it has.
    static Moment MomentOf(const ServerProcess& process, const ServerHandle& handle) {
        const bool isSearched = handle.key && !handle.key->KnownPath();
        return isSearched && !IsViewOf(process, handle) ? Moment::beforeImage : Moment::afterImage;
    }

    bool AddHandle(const ServerProcess& process, std::uint32_t value, const ServerHandle& handle) {
        if (handle.key) {
            return AddKey(process, value, handle);
        }
        Ask("open_process", "pid=" + Hex(handle.processId));
        Answer("open_process", "handle=" + Hex(value));
        if (handle.inheritable) {
            Ask("set_handle_info", "handle=" + Hex(value) + ", flags=1, mask=1");
            Answer("set_handle_info", "");
        }
        return true;
    }

    bool AddKnownKey(std::uint32_t value, const ServerHandle& handle, const std::wstring& path) {
        if (!path.starts_with(L'\\') || path.size() == 1) {
            return false; // the server reports no such path
        }
        RequestKey(handle, handle.origin == KeyOrigin::program ? unknownHandle : 0, L"", false);
        lines.append(requestword::openedKey).append(Escaped(path.substr(1))).append("\n");
        AnswerKey(handle, value);
        return true;
    }

    bool AddKey(const ServerProcess& process, std::uint32_t value, const ServerHandle& handle) {
        const OpenKey& key = *handle.key;
        if (const auto& path = key.KnownPath()) {
            return AddKnownKey(value, handle, *path);
        }
        if (!key.Parent()) {
            RequestKey(handle, handle.origin == KeyOrigin::program ? unknownHandle : 0, key.AskedName(),
                       key.View().opensLink);
            AnswerKey(handle, value);
            return IsViewOf(process, handle);
        }
        return AddBelowParent(process, value, handle);
    }

    // The key above gets a handle for a moment, with the origin that leads to this key's.
    bool AddBelowParent(const ServerProcess& process, std::uint32_t value, const ServerHandle& handle) {
        const OpenKey& key = *handle.key;
        ServerHandle above;
        above.key = key.Parent();
        above.origin = handle.origin;
        above.access = handle.origin == KeyOrigin::root ? handle.access : AccessOf(above.key->View());
        const std::uint32_t temporary = nextTemporary;
        nextTemporary += 4;
        if (!AddKey(process, temporary, above)) {
            return false;
        }
        RequestKey(handle, temporary, key.AskedName(), key.View().opensLink);
        AnswerKey(handle, value);
        Ask("close_handle", "handle=" + Hex(temporary));
        Answer("close_handle", "");
        const bool continuesRoot = handle.origin != KeyOrigin::root || (handle.access & keyWow64_32Key) != 0;
        return continuesRoot && IsViewOf(process, handle);
    }

    // Roots are created, everything else is opened.
    void RequestKey(const ServerHandle& handle, std::uint32_t parent, const std::wstring& name,
                    bool opensLink) {
        const std::string access = "access=" + Hex(handle.access);
        const std::string attributes =
            "attributes=" + Hex((handle.inheritable ? objInherit : 0) | (opensLink ? objOpenLink : 0));
        const std::string text = "name=L\"" + Escaped(name) + '"';
        if (handle.origin == KeyOrigin::root) {
            Ask(requestword::createKey,
                access + ", objattr={rootdir=" + Hex(parent) + ',' + attributes + ',' + text + '}');
        } else {
            Ask(requestword::openKey,
                "parent=" + Hex(parent) + ", " + access + ", " + attributes + ", " + text);
        }
    }

    void AnswerKey(const ServerHandle& handle, std::uint32_t value) {
        const bool creates = handle.origin == KeyOrigin::root;
        Answer(creates ? requestword::createKey : requestword::openKey, "hkey=" + Hex(value));
    }

    static std::uint32_t AccessOf(const KeyView& view) {
        return (view.redirected ? 0 : keyWow64_64Key) | (view.asks32 ? keyWow64_32Key : 0);
    }

    // Whether the process gets this key in the view that it was opened in. A copy of another process's handle
    // may be of another view.
    static bool IsViewOf(const ServerProcess& process, const ServerHandle& handle) {
        AskedKey asked;
        asked.access = handle.access;
        asked.attributes = handle.key->View().opensLink ? objOpenLink : 0;
        return ViewOf(process, asked) == handle.key->View();
    }

    std::string& lines;
    std::uint32_t nextTemporary = firstTemporary;
};

void AddWaiting(const ExchangePairing& exchanges, std::string& lines) {
    exchanges.ForEachWaiting([&](const WaitingRequest& waiting) {
        lines.append(Hex(waiting.threadId)).append(": ").append(waiting.name);
        lines.append("(").append(waiting.fields).append(")\n");
        if (!waiting.realPath.empty()) {
            lines.append(requestword::openedKey).append(waiting.realPath).append("\n");
        }
    });
}

bool AppendRequests(const RequestTracker& tracker, std::string& lines) {
    SummaryWriter writer(lines);
    lines.append(requestword::clock).append(std::to_string(tracker.Time())).append("\n");
    const ServerProcesses& processes = tracker.Processes();
    for (const auto& [id, process] : processes.All()) {
        if (!writer.AddProcess(id, process)) {
            return false;
        }
    }
    for (const auto& [thread, process] : processes.Threads()) {
        if (processes.All().contains(process)) {
            writer.AddThread(thread, process);
        }
    }
    AddWaiting(tracker.Exchanges(), lines);
    return true;
}

} // namespace

bool AppendSummary(const RequestTracker& tracker, std::string_view mark, std::string& lines) {
    const std::size_t before = lines.size();
    lines.append(requestword::summary).append(mark).append("\n");
    if (!AppendRequests(tracker, lines)) {
        lines.resize(before);
        return false;
    }
    lines.append(requestword::summaryEnd).append("\n");
    return true;
}

std::optional<std::string> MarkOf(std::string_view line) {
    constexpr std::string_view opens = ": open_key( parent=";
    constexpr std::string_view name = R"(name=L"\\REGISTRY\\Keyreap mark )";
    if (line.find(opens) == std::string_view::npos) {
        return {};
    }
    const std::size_t begin = line.find(name);
    if (begin == std::string_view::npos) {
        return {};
    }
    const std::string_view ids = line.substr(begin + name.size());
    const std::size_t end = ids.find_first_not_of("0123456789 ");
    if (end == std::string_view::npos || ids[end] != '"') {
        return {};
    }
    return R"(\REGISTRY\Keyreap mark )" + std::string(ids.substr(0, end));
}

} // namespace keyreap
