#include "pe/knownfolder.h"

#include "platform/core/text/platformguid.h"
#include "platform/os/comapartment.h"
#include "platform/os/ownedinterface.h"

#include <windows.h>

#include <shobjidl.h>

namespace keyreap {

namespace {

constexpr std::wstring_view managerClass = L"{4DF0C730-DF9D-4AE3-9153-AA6B82E9795A}";
constexpr std::wstring_view managerInterface = L"{8BE2D872-86AA-4D47-B776-32CCA40C7018}";
constexpr DWORD defaultPathUnverified = 0x4400; // KF_FLAG_DONT_VERIFY and KF_FLAG_DEFAULT_PATH of shlobj.h

using OwnedTaskText = Owned<ClosedBy<wchar_t*, CoTaskMemFree>>;

OwnedInterface<IKnownFolderManager> CreateManager() {
    const GUID classId = ToPlatformGuid(ParseGuid(managerClass));
    const GUID interfaceId = ToPlatformGuid(ParseGuid(managerInterface));
    void* manager = nullptr;
    CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, interfaceId, &manager);
    return OwnedInterface<IKnownFolderManager>(static_cast<IKnownFolderManager*>(manager));
}

OwnedInterface<IKnownFolder> GetFolder(IKnownFolderManager& manager, std::wstring_view identifier) {
    IKnownFolder* folder = nullptr;
    manager.GetFolder(ToPlatformGuid(ParseGuid(identifier)), &folder);
    return OwnedInterface<IKnownFolder>(folder);
}

std::wstring WithTrailingBackslash(std::wstring path) {
    if (!path.empty() && path.back() != L'\\') {
        path += L'\\';
    }
    return path;
}

} // namespace

bool FindKnownFolder(std::wstring_view identifier, std::wstring& path) {
    const ComApartment apartment;
    const OwnedInterface<IKnownFolderManager> manager = CreateManager();
    if (!manager.Valid()) {
        return false;
    }
    const OwnedInterface<IKnownFolder> folder = GetFolder(*manager.Get(), identifier);
    wchar_t* text = nullptr;
    if (folder.Valid() && SUCCEEDED(folder.Get()->GetPath(defaultPathUnverified, &text))) {
        const OwnedTaskText owned(text);
        path = WithTrailingBackslash(text);
    }
    return true;
}

} // namespace keyreap
