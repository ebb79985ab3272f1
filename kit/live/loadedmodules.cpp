#include "kit/live/loadedmodules.h"

#include "platform/core/text/compare.h"
#include "platform/os/entrypoint.h"
#include "platform/os/quietly.h"

#include <winternl.h>

#include <algorithm>
#include <array>
#include <mutex>

namespace keyreap {

namespace {

// As Microsoft documents them; no header has them.
struct LoadedNotification {
    ULONG flags;
    const UNICODE_STRING* fullName;
    const UNICODE_STRING* baseName;
    void* base;
    ULONG size;
};

constexpr ULONG loadedReason = 1;

using NotificationFunction = void(CALLBACK*)(ULONG reason, const LoadedNotification* module, void* context);
using RegisterFunction = LONG(NTAPI*)(ULONG flags, NotificationFunction function, void* context,
                                      void** cookie);
using UnregisterFunction = LONG(NTAPI*)(void* cookie);

template <typename Function>
Function SystemEntry(const char* name) {
    return FindEntryPoint<Function>(GetModuleHandleW(L"ntdll.dll"), name);
}

std::wstring WindowsFolder() {
    std::array<wchar_t, MAX_PATH> folder{};
    GetSystemWindowsDirectoryW(folder.data(), static_cast<UINT>(folder.size()));
    return folder.data();
}

} // namespace

struct LoadedModules::Record {
    mutable std::mutex lock;
    std::vector<std::wstring> paths;

    static void CALLBACK NoteModule(ULONG reason, const LoadedNotification* module, void* context) {
        auto& record = *static_cast<Record*>(context);
        if (reason == loadedReason) {
            Quietly([&] {
                const std::lock_guard guard(record.lock);
                record.paths.emplace_back(module->fullName->Buffer,
                                          module->fullName->Length / sizeof(wchar_t));
            });
        }
    }
};

LoadedModules::LoadedModules() : record(std::make_unique<Record>()) {
    if (const auto registerFunction = SystemEntry<RegisterFunction>("LdrRegisterDllNotification")) {
        registerFunction(0, Record::NoteModule, record.get(), &cookie);
    }
}

LoadedModules::~LoadedModules() {
    const auto unregister = SystemEntry<UnregisterFunction>("LdrUnregisterDllNotification");
    if (cookie != nullptr && unregister != nullptr) {
        unregister(cookie);
    }
}

std::vector<std::wstring> LoadedModules::OfWindows() const {
    const std::wstring folder = WindowsFolder() + L'\\';
    const std::lock_guard guard(record->lock);
    std::vector<std::wstring> found;
    for (const std::wstring& path : record->paths) {
        const auto isSame = [&path](const std::wstring& other) { return EqualFolded(path, other); };
        if (StartsWithFolded(path, folder) && std::ranges::none_of(found, isSame)) {
            found.push_back(path);
        }
    }
    return found;
}

} // namespace keyreap
