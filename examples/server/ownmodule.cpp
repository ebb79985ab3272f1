#include "server/ownmodule.h"

namespace keyreap::examples {

std::wstring OwnPath() {
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                       reinterpret_cast<LPCWSTR>(&OwnPath), &module);
    constexpr DWORD longestPath = 1024;
    wchar_t path[longestPath] = {};
    return std::wstring(path, GetModuleFileNameW(module, path, longestPath));
}

ITypeLib* OwnTypeLibrary() {
    ITypeLib* library = nullptr;
    return SUCCEEDED(LoadTypeLibEx(OwnPath().c_str(), REGKIND_NONE, &library)) ? library : nullptr;
}

ITypeInfo* OwnTypeInfo(REFIID interfaceId) {
    ITypeLib* library = OwnTypeLibrary();
    if (library == nullptr) {
        return nullptr;
    }
    ITypeInfo* info = nullptr;
    const HRESULT result = library->GetTypeInfoOfGuid(interfaceId, &info);
    library->Release();
    return SUCCEEDED(result) ? info : nullptr;
}

} // namespace keyreap::examples
