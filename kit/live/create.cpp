#include "kit/live/question.h"
#include "kit/live/requesttext.h"
#include "platform/core/text/compare.h"

#include <windows.h>

#include <objbase.h>

#include <string>
#include <thread>

namespace keyreap {

namespace {

using Json = nlohmann::json;

// The context of a manifest; none if there is no manifest.
class ManifestContext {
public:
    explicit ManifestContext(const std::wstring& manifest) {
        if (!manifest.empty()) {
            ACTCTXW description{};
            description.cbSize = sizeof(description);
            description.lpSource = manifest.c_str();
            handle = CreateActCtxW(&description);
            error = handle == INVALID_HANDLE_VALUE ? GetLastError() : ERROR_SUCCESS;
        }
    }

    ~ManifestContext() {
        if (handle != INVALID_HANDLE_VALUE) {
            ReleaseActCtx(handle);
        }
    }

    ManifestContext(const ManifestContext&) = delete;
    ManifestContext& operator=(const ManifestContext&) = delete;

    DWORD Error() const { return error; }

    // Calls a function in this thread with the context.
    template <typename Function>
    void Within(const Function& function) const {
        ULONG_PTR cookie = 0;
        const bool isActive = handle != INVALID_HANDLE_VALUE && ActivateActCtx(handle, &cookie) != FALSE;
        function();
        if (isActive) {
            DeactivateActCtx(0, cookie);
        }
    }

private:
    HANDLE handle = INVALID_HANDLE_VALUE;
    DWORD error = ERROR_SUCCESS;
};

bool IsRegistered(const std::wstring& clsid) {
    HKEY key = nullptr;
    const std::wstring path = L"CLSID\\" + clsid;
    const bool isThere = RegOpenKeyExW(HKEY_CLASSES_ROOT, path.c_str(), 0, KEY_READ, &key) == ERROR_SUCCESS;
    if (isThere) {
        RegCloseKey(key);
    }
    return isThere;
}

// Creates the object. A program ends when it is released. Another one stays: a server that fails while it
// frees an object has created it.
HRESULT Created(const std::wstring& clsid, CLSCTX context) {
    CLSID id{};
    IUnknown* object = nullptr;
    HRESULT result = CLSIDFromString(clsid.c_str(), &id);
    if (SUCCEEDED(result)) {
        result = CoCreateInstance(id, nullptr, static_cast<DWORD>(context), IID_IUnknown,
                                  reinterpret_cast<void**>(&object));
    }
    if (object != nullptr && context == CLSCTX_LOCAL_SERVER) {
        object->Release();
    }
    return result;
}

// In a thread of the apartment that the class is made for. The main thread's is the single-threaded one; it
// stays, so that no server is unloaded between two classes.
HRESULT CreatedInItsApartment(const std::wstring& clsid, const std::wstring& model,
                              const ManifestContext& context) {
    HRESULT result = E_FAIL;
    const auto create = [&] { context.Within([&] { result = Created(clsid, CLSCTX_INPROC_SERVER); }); };
    // Wine knows no neutral apartment, and would create such an object in the main thread.
    if (!EqualFolded(model, L"Free")) {
        create();
        return result;
    }
    HANDLE end = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::thread thread([&] {
        CoInitializeEx(nullptr, COINIT_MULTITHREADED);
        create();
        CoUninitialize();
        SetEvent(end);
    });
    // What the server creates there may be made for the main thread, which has to answer meanwhile.
    DWORD ignored = 0;
    CoWaitForMultipleHandles(0, INFINITE, 1, &end, &ignored);
    thread.join();
    CloseHandle(end);
    return result;
}

// The servers' folders are searched for the files that they need.
void AddFolders(const std::vector<std::wstring>& folders) {
    std::wstring path;
    for (const std::wstring& folder : folders) {
        path += folder + L';';
    }
    const DWORD size = GetEnvironmentVariableW(L"PATH", nullptr, 0);
    std::wstring own(size, L'\0');
    own.resize(size == 0 ? 0 : GetEnvironmentVariableW(L"PATH", own.data(), size));
    SetEnvironmentVariableW(L"PATH", (path + own).c_str());
}

} // namespace

void AnswerCreate(const Json& request) {
    AddFolders(TextsOf(request, "folders"));
    const ManifestContext context(TextOf(request, "manifest"));
    if (context.Error() != ERROR_SUCCESS) {
        Answer({{"failure", "CreateActCtxW"}, {"error", context.Error()}});
        return;
    }
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    for (const Json& one : request.value("classes", Json::array())) {
        const std::wstring clsid = TextOf(one, "clsid");
        const bool isRegistered = IsRegistered(clsid);
        const HRESULT result = one.value("isOfProgram", false)
                                   ? Created(clsid, CLSCTX_LOCAL_SERVER)
                                   : CreatedInItsApartment(clsid, TextOf(one, "threadingModel"), context);
        Answer({{"clsid", ReadableUtf8(clsid)},
                {"result", static_cast<std::uint32_t>(result)},
                {"isRegistered", isRegistered}});
    }
}

} // namespace keyreap
