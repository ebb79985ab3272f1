// The example program server: a process of its own, which COM starts for a client and which ends with its
// last object. /REGSERVER registers it, and /UNREGSERVER removes the registration.
#include <initguid.h>

#include "journal_h.h"
#include "server/classfactory.h"
#include "server/dispatchobject.h"
#include "server/registration.h"

#include <string_view>

namespace keyreap::examples {

namespace {

class Journal final : public DispatchObject<IJournal> {
public:
    STDMETHODIMP Append(long number, long* sumSoFar) override {
        sum += number;
        *sumSoFar = sum;
        return S_OK;
    }

    STDMETHODIMP ProcessNumber(long* number) override {
        *number = static_cast<long>(GetCurrentProcessId());
        return S_OK;
    }

private:
    long sum = 0;
};

ClassEntry Entry() {
    return {
        .classId = L"{6DB8B3B1-01F3-4D05-B926-7EC5C98A2479}",
        .libraryId = L"{6DB8B3B1-01F3-4D05-B926-7EC5C98A2477}",
        .progId = L"KeyreapExample.Journal",
        .title = L"Keyreap example: journal",
        .serverKey = L"LocalServer32",
        .server = L"\"" + OwnPath() + L"\"",
        .threadingModel = L"",
    };
}

void RunMessages() {
    MSG message = {};
    while (GetMessageW(&message, nullptr, 0, 0) > 0) {
        DispatchMessageW(&message);
    }
}

int Serve() {
    ClassFactory<Journal> factory;
    DWORD registration = 0;
    WhenUnused([] { PostQuitMessage(0); });
    const HRESULT result = CoRegisterClassObject(CLSID_Journal, &factory, CLSCTX_LOCAL_SERVER,
                                                 REGCLS_MULTIPLEUSE, &registration);
    if (FAILED(result)) {
        return result;
    }
    RunMessages();
    return CoRevokeClassObject(registration);
}

} // namespace

} // namespace keyreap::examples

int wmain(int count, wchar_t** arguments) {
    using namespace keyreap::examples;
    const std::wstring_view word = count > 1 ? arguments[1] : L"";
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const int status = word == L"/REGSERVER"     ? RegisterServer(Entry())
                       : word == L"/UNREGSERVER" ? UnregisterServer(Entry())
                                                 : Serve();
    CoUninitialize();
    return status;
}
