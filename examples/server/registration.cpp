#include "server/registration.h"

#include "server/ownmodule.h"

#include <oleauto.h>

namespace keyreap::examples {

namespace {

HRESULT SetText(const std::wstring& key, const wchar_t* name, const std::wstring& text) {
    const auto size = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
    return HRESULT_FROM_WIN32(
        RegSetKeyValueW(HKEY_CLASSES_ROOT, key.c_str(), name, REG_SZ, text.c_str(), size));
}

std::wstring ClassKey(const ClassEntry& entry) {
    return L"CLSID\\" + entry.classId;
}

HRESULT RegisterClassKeys(const ClassEntry& entry) {
    const std::wstring key = ClassKey(entry);
    const std::wstring serverKey = key + L"\\" + entry.serverKey;
    HRESULT result = SetText(key, nullptr, entry.title);
    const auto add = [&](const std::wstring& subkey, const wchar_t* name, const std::wstring& text) {
        result = SUCCEEDED(result) ? SetText(subkey, name, text) : result;
    };
    add(serverKey, nullptr, entry.server);
    if (!entry.threadingModel.empty()) {
        add(serverKey, L"ThreadingModel", entry.threadingModel);
    }
    add(key + L"\\ProgID", nullptr, entry.progId);
    add(key + L"\\TypeLib", nullptr, entry.libraryId);
    add(entry.progId, nullptr, entry.title);
    add(entry.progId + L"\\CLSID", nullptr, entry.classId);
    return result;
}

HRESULT RegisterOwnTypeLibrary() {
    ITypeLib* library = OwnTypeLibrary();
    if (library == nullptr) {
        return TYPE_E_CANTLOADLIBRARY;
    }
    std::wstring path = OwnPath();
    std::wstring folder = path.substr(0, path.rfind(L'\\'));
    const HRESULT result = RegisterTypeLib(library, path.data(), folder.data());
    library->Release();
    return result;
}

HRESULT UnregisterOwnTypeLibrary() {
    ITypeLib* library = OwnTypeLibrary();
    TLIBATTR* attributes = nullptr;
    if (library == nullptr || FAILED(library->GetLibAttr(&attributes))) {
        return TYPE_E_CANTLOADLIBRARY;
    }
    constexpr SYSKIND ownSystem = sizeof(void*) == 8 ? SYS_WIN64 : SYS_WIN32;
    const HRESULT result = UnRegisterTypeLib(attributes->guid, attributes->wMajorVerNum,
                                             attributes->wMinorVerNum, attributes->lcid, ownSystem);
    library->ReleaseTLibAttr(attributes);
    library->Release();
    return result;
}

} // namespace

HRESULT RegisterServer(const ClassEntry& entry) {
    const HRESULT result = RegisterClassKeys(entry);
    return SUCCEEDED(result) ? RegisterOwnTypeLibrary() : result;
}

HRESULT UnregisterServer(const ClassEntry& entry) {
    RegDeleteTreeW(HKEY_CLASSES_ROOT, ClassKey(entry).c_str());
    RegDeleteTreeW(HKEY_CLASSES_ROOT, entry.progId.c_str());
    return UnregisterOwnTypeLibrary();
}

} // namespace keyreap::examples
