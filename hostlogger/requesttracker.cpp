#include "hostlogger/requesttracker.h"

#include "etl/registryevent.h"
#include "hostlogger/requeststatus.h"
#include "platform/core/text/compare.h"

#include <array>
#include <charconv>
#include <utility>

namespace keyreap {

namespace {

constexpr std::uint32_t currentProcess = 0xFFFFFFFF;   // NtCurrentProcess, cut to 32 bits
constexpr std::uint32_t inheritHandles = 0x4;          // PROCESS_CREATE_FLAGS_INHERIT_HANDLES, ntpsapi
constexpr std::uint32_t handleFlagInherit = 0x1;       // winbase.h
constexpr std::uint32_t duplicateCloseSource = 0x1;    // winnt.h
constexpr std::uint32_t duplicateSameAttributes = 0x4; // ntobapi
constexpr std::uint32_t comPlusNativeReady = 0x1;      // of SECTION_IMAGE_INFORMATION's ImageFlags, ntmmapi

// A key found below one that isn't looked up yet, and so on: no more than so many of them, so that no program
// can make them a danger to the stack.
constexpr std::size_t mostUnknown = 32;

constexpr std::string_view createRequest = "create_key";
constexpr std::string_view deleteRequest = "delete_key";
constexpr std::string_view setRequest = "set_key_value";
constexpr std::string_view deleteValueRequest = "delete_key_value";
constexpr std::string_view firstThreadRequest = "init_first_thread";

std::uint8_t ChangeType(std::string_view name) {
    if (name == deleteRequest) {
        return registryevent::deleteKey;
    }
    if (name == setRequest) {
        return registryevent::setValue;
    }
    return name == deleteValueRequest ? registryevent::deleteValue : registryevent::queryValue;
}

std::shared_ptr<const OpenKey> KeyBehind(const ServerProcess& process, std::uint32_t handle) {
    const auto found = process.handles.find(handle);
    return found == process.handles.end() ? nullptr : found->second.key;
}

// A request about the key of a handle that the process has.
KeyRequest RequestAbout(const ServerProcess& process, std::uint32_t handle) {
    KeyRequest request;
    if (const auto found = process.handles.find(handle); found != process.handles.end()) {
        request.key = found->second.key;
        request.origin = found->second.origin;
    }
    return request;
}

ServerHandle ProcessHandle(std::uint32_t processId) {
    ServerHandle handle;
    handle.processId = processId;
    return handle;
}

bool TakesKeyRequests(const KeyRequestListener* listener) {
    return listener && listener->TakesKeyRequests();
}

std::int64_t ParseTime(std::string_view digits) {
    std::int64_t time = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), time);
    return time;
}

} // namespace

RequestTracker::Action RequestTracker::ActionFor(std::string_view name) {
    static constexpr std::array<std::pair<std::string_view, Action>, 15> actions{{
        {createRequest, &RequestTracker::CreateOrOpenKey},
        {"open_key", &RequestTracker::CreateOrOpenKey},
        {deleteRequest, &RequestTracker::ChangeKey},
        {setRequest, &RequestTracker::ChangeKey},
        {deleteValueRequest, &RequestTracker::ChangeKey},
        {"get_key_value", &RequestTracker::ChangeKey},
        {"rename_key", &RequestTracker::RenameKey},
        {"close_handle", &RequestTracker::CloseHandle},
        {"dup_handle", &RequestTracker::DuplicateHandle},
        {"set_handle_info", &RequestTracker::MarkHandle},
        {"new_process", &RequestTracker::StartProcess},
        {"new_thread", &RequestTracker::StartThread},
        {"open_process", &RequestTracker::OpenProcess},
        {"get_mapping_info", &RequestTracker::MapImage},
        {"get_process_debug_info", &RequestTracker::EndStart},
    }};
    for (const auto& [known, action] : actions) {
        if (known == name) {
            return action;
        }
    }
    return nullptr;
}

void RequestTracker::Feed(std::string_view line, KeyRequestListener* listener) {
    const auto parsed = ParseRequestLine(line);
    if (!parsed) {
        return;
    }
    switch (parsed->kind) {
    case RequestLine::Kind::request:
        TakeRequest(*parsed, listener);
        break;
    case RequestLine::Kind::reply:
        TakeReply(*parsed, listener);
        break;
    case RequestLine::Kind::keyPath:
        TakeRealPath(parsed->fields);
        break;
    case RequestLine::Kind::threadEnd:
        pending.erase(parsed->id);
        processes.EndThread(parsed->id);
        break;
    case RequestLine::Kind::processEnd:
        processes.End(parsed->id);
        break;
    case RequestLine::Kind::clock:
        time = ParseTime(parsed->fields);
        break;
    case RequestLine::Kind::lost:
        if (listener) {
            listener->OnLostLines();
        }
        break;
    }
}

void RequestTracker::TakeRequest(const RequestLine& line, const KeyRequestListener* listener) {
    Pending& waiting = pending[line.id];
    waiting.waits = TakesKeyRequests(listener) || ActionFor(line.name) != &RequestTracker::ChangeKey;
    if (!waiting.waits) {
        return; // it changes nothing that is followed
    }
    waiting.name = line.name;
    waiting.fields = line.fields;
    waiting.realPath.clear();
    lastThread = line.id;
}

void RequestTracker::TakeRealPath(std::string_view path) {
    if (const auto waiting = pending.find(lastThread); waiting != pending.end()) {
        waiting->second.realPath = path;
    }
}

void RequestTracker::TakeReply(const RequestLine& line, KeyRequestListener* listener) {
    const auto waiting = pending.find(line.id);
    if (waiting == pending.end() || !waiting->second.waits || waiting->second.name != line.name) {
        return;
    }
    Pending& request = waiting->second;
    request.waits = false;
    if (line.name == firstThreadRequest) {
        StartFirstThread(line);
    }
    const Action action = ActionFor(line.name);
    const std::uint32_t processId = processes.ProcessOf(line.id);
    ServerProcess* const process = processes.Find(processId);
    if (action && process) {
        (this->*action)({request, line, *process, processId, ServerStatus(line.status), listener});
    }
}

bool RequestTracker::IsTold(const Answered& answered) const {
    return TakesKeyRequests(answered.listener) &&
           (answered.process.started || systemStart.Knows(answered.process.machine));
}

bool RequestTracker::BelongsToStart(const Answered& answered, const KeyRequest& request) const {
    if (answered.process.started) {
        return false;
    }
    if (!SystemStart::IsChange(request)) {
        return true; // the loader reads for every module that it loads; nothing is made of that
    }
    const std::string line = SystemStart::LineOf(request, facts);
    const unsigned most = systemStart.CountOf(line);
    return most != 0 && answered.process.startChanges[line]++ < most;
}

void RequestTracker::Tell(const Answered& answered, KeyRequest request) const {
    request.machine = answered.process.machine;
    if (!IsTold(answered) || BelongsToStart(answered, request)) {
        return;
    }
    request.processId = answered.processId;
    request.threadId = answered.reply.id;
    request.status = answered.status == statusObjectNameExists ? 0 : answered.status;
    request.time = time;
    answered.listener->OnKeyRequest(request);
}

void RequestTracker::CreateOrOpenKey(const Answered& answered) {
    const bool creates = answered.request.name == createRequest;
    const AskedKey asked = ReadAskedKey(answered.request.fields, creates);
    const KeyOrigin origin = OriginOf(answered.process, asked);
    const bool finds = origin != KeyOrigin::program && answered.status == statusObjectNameExists;
    KeyRequest request;
    request.type = creates && !finds ? registryevent::createKey : registryevent::openKey;
    request.origin = origin;
    request.parent = KeyBehind(answered.process, asked.parent);
    request.view = ViewOf(answered.process, asked);
    const std::uint32_t handle = NumberField(answered.reply.fields, "hkey");
    if (handle != 0) {
        request.key = FoundKey(answered, asked);
        answered.process.handles[handle] = {request.key, 0, AsksForInheritance(asked.attributes), origin,
                                            asked.access};
    } else if (!creates && asked.parent == 0 && answered.listener) {
        answered.listener->OnMissingKey(UnescapeServerText(asked.name));
    }
    if (IsTold(answered)) {
        request.name = UnescapeServerText(asked.name);
        Tell(answered, std::move(request));
    }
}

std::shared_ptr<const OpenKey> RequestTracker::FoundKey(const Answered& answered,
                                                        const AskedKey& asked) const {
    if (!answered.request.realPath.empty()) {
        return std::make_shared<const OpenKey>(L'\\' + UnescapeServerText(answered.request.realPath));
    }
    auto key =
        std::make_shared<const OpenKey>(KeyBehind(answered.process, asked.parent),
                                        UnescapeServerText(asked.name), ViewOf(answered.process, asked));
    if (key->Depth() >= mostUnknown) {
        key->Path(facts);
    }
    return key;
}

void RequestTracker::ChangeKey(const Answered& answered) {
    if (!IsTold(answered)) {
        return;
    }
    KeyRequest request = RequestAbout(answered.process, NumberField(answered.request.fields, "hkey"));
    request.type = ChangeType(answered.request.name);
    request.name = TextField(answered.request.fields, "name");
    if (request.key) {
        Tell(answered, std::move(request));
    }
}

void RequestTracker::RenameKey(const Answered& answered) {
    KeyRequest request = RequestAbout(answered.process, NumberField(answered.request.fields, "hkey"));
    request.type = registryevent::setInformation;
    if (!request.key) {
        return;
    }
    Tell(answered, request);
    if (answered.status == 0) {
        const std::wstring from = request.key->Path(facts);
        MoveKeys(from, from.substr(0, from.rfind(L'\\') + 1) + TextField(answered.request.fields, "name"));
    }
}

void RequestTracker::MoveKeys(const std::wstring& from, const std::wstring& to) {
    for (const auto& [address, key] : OpenKeys()) {
        const std::wstring path = key->Path(facts);
        const std::wstring_view start = std::wstring_view(path).substr(0, from.size());
        if (EqualFolded(start, from) && (path.size() == from.size() || path[from.size()] == L'\\')) {
            key->Move(to + path.substr(from.size()));
        }
    }
}

void RequestTracker::CloseHandle(const Answered& answered) {
    const auto handle = answered.process.handles.find(NumberField(answered.request.fields, "handle"));
    if (answered.status != 0 || handle == answered.process.handles.end()) {
        return;
    }
    KeyRequest request;
    request.type = registryevent::close;
    request.key = handle->second.key;
    answered.process.handles.erase(handle);
    if (request.key) {
        Tell(answered, std::move(request));
    }
}

std::uint32_t RequestTracker::ProcessBehind(const Answered& answered, std::uint32_t handle) const {
    if (handle == currentProcess) {
        return answered.processId;
    }
    const auto found = answered.process.handles.find(handle);
    return found == answered.process.handles.end() ? 0 : found->second.processId;
}

void RequestTracker::DuplicateHandle(const Answered& answered) {
    const std::string_view fields = answered.request.fields;
    const std::uint32_t sourceId = ProcessBehind(answered, NumberField(fields, "src_process"));
    ServerProcess* const source = processes.Find(sourceId);
    if (!source) {
        return;
    }
    const std::uint32_t options = NumberField(fields, "options");
    const std::uint32_t sourceHandle = NumberField(fields, "src_handle");
    const std::uint32_t copy = NumberField(answered.reply.fields, "handle");
    ServerProcess* const target = processes.Find(ProcessBehind(answered, NumberField(fields, "dst_process")));
    const auto found = source->handles.find(sourceHandle);
    ServerHandle handle;
    if (found != source->handles.end()) {
        handle = found->second;
    } else if (sourceHandle == currentProcess) {
        handle.processId = sourceId;
    }
    if ((options & duplicateSameAttributes) == 0) {
        handle.inheritable = AsksForInheritance(NumberField(fields, "attributes"));
    }
    if ((options & duplicateCloseSource) != 0) {
        source->handles.erase(sourceHandle);
    }
    if (target && copy != 0 && (handle.key || handle.processId != 0)) {
        target->handles[copy] = std::move(handle);
    }
}

void RequestTracker::MarkHandle(const Answered& answered) {
    const std::string_view fields = answered.request.fields;
    const auto handle = answered.process.handles.find(NumberField(fields, "handle"));
    if (handle != answered.process.handles.end() && (NumberField(fields, "mask") & handleFlagInherit) != 0) {
        handle->second.inheritable = (NumberField(fields, "flags") & handleFlagInherit) != 0;
    }
}

void RequestTracker::StartProcess(const Answered& answered) {
    const std::uint32_t child = NumberField(answered.reply.fields, "pid");
    if (child == 0) {
        return;
    }
    const std::uint32_t parentHandle = NumberField(answered.request.fields, "parent_process");
    const std::uint32_t parent =
        parentHandle == 0 ? answered.processId : ProcessBehind(answered, parentHandle);
    const bool inherits = (NumberField(answered.request.fields, "flags") & inheritHandles) != 0;
    processes.Start(child, inherits ? processes.Find(parent) : nullptr,
                    NumbersField(answered.request.fields, "handles"));
    if (const std::uint32_t handle = NumberField(answered.reply.fields, "handle")) {
        answered.process.handles[handle] = ProcessHandle(child);
    }
}

void RequestTracker::StartThread(const Answered& answered) {
    const std::uint32_t thread = NumberField(answered.reply.fields, "tid");
    const std::uint32_t owner = ProcessBehind(answered, NumberField(answered.request.fields, "process"));
    if (thread != 0 && owner != 0) {
        processes.StartThread(thread, owner);
    }
}

void RequestTracker::StartFirstThread(const RequestLine& reply) {
    if (const std::uint32_t processId = NumberField(reply.fields, "pid")) {
        processes.StartThread(reply.id, processId);
        processes.Process(processId);
    }
}

void RequestTracker::OpenProcess(const Answered& answered) {
    if (const std::uint32_t handle = NumberField(answered.reply.fields, "handle")) {
        answered.process.handles[handle] = ProcessHandle(NumberField(answered.request.fields, "pid"));
    }
}

void RequestTracker::MapImage(const Answered& answered) {
    if (answered.process.machine != 0) {
        return; // the first image that a process maps is its own
    }
    const std::string_view image = FindField(answered.reply.fields, "image").value_or(std::string_view());
    const auto machine = static_cast<std::uint16_t>(NumberField(image, "machine"));
    const bool ofEither = (NumberField(image, "image_flags") & comPlusNativeReady) != 0;
    answered.process.machine = machine == machineI386 && ofEither ? machineAmd64 : machine;
}

void RequestTracker::EndStart(const Answered& answered) {
    if (NumberField(answered.request.fields, "handle") == currentProcess) {
        answered.process.started = true;
        answered.process.startChanges = {};
    }
}

std::unordered_map<const OpenKey*, std::shared_ptr<const OpenKey>> RequestTracker::OpenKeys() const {
    std::unordered_map<const OpenKey*, std::shared_ptr<const OpenKey>> open;
    for (const auto& [id, process] : processes.All()) {
        for (const auto& [value, handle] : process.handles) {
            if (handle.key) {
                open.emplace(handle.key.get(), handle.key);
            }
        }
    }
    return open;
}

} // namespace keyreap
