#include "hostlogger/requesttracker.h"

#include "etl/registryevent.h"
#include "hostlogger/requeststatus.h"
#include "hostlogger/requestwords.h"
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

// The longest chain of keys of unknown paths, each the parent of the next. It is looked up recursively, so a
// limit keeps programs from exhausting the stack.
constexpr std::size_t longestUnknownChain = 32;

std::uint8_t TypeOfUse(std::string_view name) {
    if (name == requestword::deleteKey) {
        return registryevent::deleteKey;
    }
    if (name == requestword::setValue) {
        return registryevent::setValue;
    }
    return name == requestword::deleteValue ? registryevent::deleteValue : registryevent::queryValue;
}

std::shared_ptr<const OpenKey> KeyOfHandle(const ServerProcess& process, std::uint32_t handle) {
    const auto found = process.handles.find(handle);
    return found == process.handles.end() ? nullptr : found->second.key;
}

KeyRequest RequestAboutKeyOf(const ServerProcess& process, std::uint32_t handle) {
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

bool WantsKeyRequests(const KeyRequestListener* listener) {
    return listener && listener->WantsKeyRequests();
}

std::int64_t ParseTime(std::string_view digits) {
    std::int64_t time = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), time);
    return time;
}

} // namespace

RequestTracker::Action RequestTracker::ActionFor(std::string_view name) {
    static constexpr std::array<std::pair<std::string_view, Action>, 15> actions{{
        {requestword::createKey, &RequestTracker::CreateOrOpenKey},
        {requestword::openKey, &RequestTracker::CreateOrOpenKey},
        {requestword::deleteKey, &RequestTracker::UseKey},
        {requestword::setValue, &RequestTracker::UseKey},
        {requestword::deleteValue, &RequestTracker::UseKey},
        {requestword::queryValue, &RequestTracker::UseKey},
        {requestword::renameKey, &RequestTracker::RenameKey},
        {requestword::closeHandle, &RequestTracker::CloseHandle},
        {requestword::duplicateHandle, &RequestTracker::DuplicateHandle},
        {requestword::setHandleInfo, &RequestTracker::MarkInheritable},
        {requestword::newProcess, &RequestTracker::StartProcess},
        {requestword::newThread, &RequestTracker::StartThread},
        {requestword::openProcess, &RequestTracker::OpenProcess},
        {requestword::mappingInfo, &RequestTracker::TakeMachine},
        {requestword::debugInfo, &RequestTracker::MarkStarted},
    }};
    for (const auto& [known, action] : actions) {
        if (known == name) {
            return action;
        }
    }
    return nullptr;
}

std::uint32_t RequestTracker::Call::ProcessOf(std::uint32_t handle) const {
    if (handle == currentProcess) {
        return processId;
    }
    const auto found = process.handles.find(handle);
    return found == process.handles.end() ? 0 : found->second.processId;
}

void RequestTracker::Feed(std::string_view line, KeyRequestListener* listener) {
    const auto parsed = ParseRequestLine(line);
    if (!parsed || !gate.Admits(*parsed)) {
        return;
    }
    switch (parsed->kind) {
    case RequestLine::Kind::request:
        OnRequest(*parsed, listener);
        break;
    case RequestLine::Kind::reply:
        OnReply(*parsed, listener);
        break;
    case RequestLine::Kind::keyPath:
        exchanges.AddRealPath(parsed->fields);
        break;
    case RequestLine::Kind::threadEnd:
        exchanges.EndThread(parsed->id);
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
    case RequestLine::Kind::summary:
    case RequestLine::Kind::summaryEnd:
        break;
    }
}

void RequestTracker::OnRequest(const RequestLine& request, const KeyRequestListener* listener) {
    if (WantsKeyRequests(listener) || ActionFor(request.name) != &RequestTracker::UseKey) {
        exchanges.AddRequest(request);
    } else {
        exchanges.SkipRequest(request.id); // it changes nothing that is tracked
    }
}

void RequestTracker::OnReply(const RequestLine& reply, KeyRequestListener* listener) {
    const auto exchange = exchanges.TakeReply(reply);
    if (!exchange) {
        return;
    }
    if (exchange->name == requestword::firstThread) {
        StartFirstThread(*exchange);
    }
    const Action action = ActionFor(exchange->name);
    const std::uint32_t processId = processes.ProcessOf(exchange->threadId);
    ServerProcess* const process = processes.Find(processId);
    if (action && process) {
        (this->*action)({*exchange, *process, processId, listener});
    }
}

bool RequestTracker::IsReported(const Call& call) const {
    return WantsKeyRequests(call.listener) &&
           (call.process.started || strictness.system || systemStart.Knows(call.process.machine));
}

bool RequestTracker::BelongsToStart(const Call& call, const KeyRequest& request) const {
    if (call.process.started || strictness.system) {
        return false;
    }
    if (!SystemStart::IsChange(request)) {
        return true; // the loader reads for every module that it loads, and no capture needs that
    }
    const std::string line = SystemStart::LineOf(request, facts);
    const unsigned most = systemStart.CountOf(line);
    return most != 0 && call.process.startChanges[line]++ < most;
}

void RequestTracker::Report(const Call& call, KeyRequest request) const {
    request.machine = call.process.machine;
    if (!IsReported(call)) {
        return;
    }
    if (!BelongsToStart(call, request)) {
        call.listener->OnKeyRequest(Completed(call, std::move(request)));
    } else if (SystemStart::IsChange(request)) {
        call.listener->OnSystemRequest(Completed(call, std::move(request)));
    }
}

// With what every request has.
KeyRequest RequestTracker::Completed(const Call& call, KeyRequest request) const {
    request.processId = call.processId;
    request.threadId = call.threadId;
    request.status = call.status == statusObjectNameExists ? 0 : call.status;
    request.time = time;
    return request;
}

void RequestTracker::CreateOrOpenKey(const Call& call) {
    const bool creates = call.name == requestword::createKey;
    const AskedKey asked = ReadAskedKey(call.requestFields, creates);
    const KeyOrigin origin = OriginOf(call.process, asked);
    const bool opens =
        origin != KeyOrigin::program && call.status == statusObjectNameExists && !strictness.creations;
    KeyRequest request;
    request.type = creates && !opens ? registryevent::createKey : registryevent::openKey;
    request.origin = origin;
    request.parent = KeyOfHandle(call.process, asked.parent);
    request.view = ViewOf(call.process, asked);
    const std::uint32_t handle = NumberField(call.replyFields, "hkey");
    if (handle != 0) {
        request.key = FoundKey(call, asked);
        call.process.handles[handle] = {request.key, 0, AsksForInheritance(asked.attributes), origin,
                                        asked.access};
    } else if (!creates && asked.parent == 0 && call.listener) {
        call.listener->OnMissingKey(UnescapeServerText(asked.name));
    }
    if (IsReported(call)) {
        request.name = UnescapeServerText(asked.name);
        Report(call, std::move(request));
    }
}

std::shared_ptr<const OpenKey> RequestTracker::FoundKey(const Call& call, const AskedKey& asked) const {
    if (!call.realPath.empty()) {
        return std::make_shared<const OpenKey>(L'\\' + UnescapeServerText(call.realPath));
    }
    auto key = std::make_shared<const OpenKey>(KeyOfHandle(call.process, asked.parent),
                                               UnescapeServerText(asked.name), ViewOf(call.process, asked));
    if (key->Depth() >= longestUnknownChain) {
        key->Path(facts);
    }
    return key;
}

void RequestTracker::UseKey(const Call& call) {
    if (!IsReported(call)) {
        return;
    }
    KeyRequest request = RequestAboutKeyOf(call.process, NumberField(call.requestFields, "hkey"));
    request.type = TypeOfUse(call.name);
    request.name = TextField(call.requestFields, "name");
    if (request.key) {
        Report(call, std::move(request));
    }
}

void RequestTracker::RenameKey(const Call& call) {
    KeyRequest request = RequestAboutKeyOf(call.process, NumberField(call.requestFields, "hkey"));
    request.type = registryevent::setInformation;
    request.newName = TextField(call.requestFields, "name");
    if (!request.key) {
        return;
    }
    Report(call, request);
    if (call.status == 0) {
        const std::wstring from = request.key->Path(facts);
        MoveKeys(from, from.substr(0, from.rfind(L'\\') + 1) + request.newName);
    }
}

void RequestTracker::MoveKeys(const std::wstring& from, const std::wstring& to) {
    const auto open = OpenKeys();
    // All paths are looked up first: a key that is moved too early hides where the keys below it were found.
    for (const auto& [address, key] : open) {
        key->Path(facts);
    }
    for (const auto& [address, key] : open) {
        const std::wstring path = key->Path(facts);
        if (StartsWithFolded(path, from) && (path.size() == from.size() || path[from.size()] == L'\\')) {
            key->Move(to + path.substr(from.size()));
        }
    }
}

void RequestTracker::CloseHandle(const Call& call) {
    const auto handle = call.process.handles.find(NumberField(call.requestFields, "handle"));
    if (call.status != 0 || handle == call.process.handles.end()) {
        return;
    }
    KeyRequest request;
    request.type = registryevent::close;
    request.key = handle->second.key;
    call.process.handles.erase(handle);
    if (request.key) {
        Report(call, std::move(request));
    }
}

void RequestTracker::DuplicateHandle(const Call& call) {
    const std::string_view fields = call.requestFields;
    const std::uint32_t sourceId = call.ProcessOf(NumberField(fields, "src_process"));
    ServerProcess* const source = processes.Find(sourceId);
    if (!source) {
        return;
    }
    const std::uint32_t options = NumberField(fields, "options");
    const std::uint32_t sourceHandle = NumberField(fields, "src_handle");
    const std::uint32_t copy = NumberField(call.replyFields, "handle");
    ServerProcess* const target = processes.Find(call.ProcessOf(NumberField(fields, "dst_process")));
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

void RequestTracker::MarkInheritable(const Call& call) {
    const std::string_view fields = call.requestFields;
    const auto handle = call.process.handles.find(NumberField(fields, "handle"));
    if (handle != call.process.handles.end() && (NumberField(fields, "mask") & handleFlagInherit) != 0) {
        handle->second.inheritable = (NumberField(fields, "flags") & handleFlagInherit) != 0;
    }
}

void RequestTracker::StartProcess(const Call& call) {
    const std::uint32_t child = NumberField(call.replyFields, "pid");
    if (child == 0) {
        return;
    }
    const std::uint32_t parentHandle = NumberField(call.requestFields, "parent_process");
    const std::uint32_t parent = parentHandle == 0 ? call.processId : call.ProcessOf(parentHandle);
    if (call.listener) {
        call.listener->OnProcessStart({child, parent, TextField(call.requestFields, "image"), time});
    }
    const bool inherits = (NumberField(call.requestFields, "flags") & inheritHandles) != 0;
    processes.Start(child, inherits ? processes.Find(parent) : nullptr,
                    NumbersField(call.requestFields, "handles"));
    if (const std::uint32_t handle = NumberField(call.replyFields, "handle")) {
        call.process.handles[handle] = ProcessHandle(child);
    }
}

void RequestTracker::StartThread(const Call& call) {
    const std::uint32_t thread = NumberField(call.replyFields, "tid");
    const std::uint32_t owner = call.ProcessOf(NumberField(call.requestFields, "process"));
    if (thread != 0 && owner != 0) {
        processes.StartThread(thread, owner);
    }
}

void RequestTracker::StartFirstThread(const Exchange& exchange) {
    if (const std::uint32_t processId = NumberField(exchange.replyFields, "pid")) {
        processes.StartThread(exchange.threadId, processId);
        processes.Process(processId);
    }
}

void RequestTracker::OpenProcess(const Call& call) {
    if (const std::uint32_t handle = NumberField(call.replyFields, "handle")) {
        call.process.handles[handle] = ProcessHandle(NumberField(call.requestFields, "pid"));
    }
}

void RequestTracker::TakeMachine(const Call& call) {
    if (call.process.machine != 0) {
        return; // the first image that a process maps is its own
    }
    const std::string_view image = FindField(call.replyFields, "image").value_or(std::string_view());
    const auto machine = static_cast<std::uint16_t>(NumberField(image, "machine"));
    const bool forEither = (NumberField(image, "image_flags") & comPlusNativeReady) != 0;
    call.process.machine = machine == machineI386 && forEither ? machineAmd64 : machine;
}

void RequestTracker::MarkStarted(const Call& call) {
    if (NumberField(call.requestFields, "handle") == currentProcess) {
        call.process.started = true;
        call.process.startChanges = {};
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
