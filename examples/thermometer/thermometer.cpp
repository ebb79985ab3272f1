// The example in-process server: one class with one method.
#include <initguid.h>

#include "server/classfactory.h"
#include "server/dispatchobject.h"
#include "server/registration.h"
#include "thermometer_h.h"

namespace keyreap::examples {

namespace {

class Thermometer final : public DispatchObject<IThermometer> {
public:
    STDMETHODIMP ToFahrenheit(double celsius, double* fahrenheit) override {
        *fahrenheit = celsius * 9 / 5 + 32;
        return S_OK;
    }
};

ClassEntry Entry() {
    return {
        .classId = L"{B29A312E-EB83-43BC-A846-E0C0563B8877}",
        .libraryId = L"{B29A312E-EB83-43BC-A846-E0C0563B8875}",
        .progId = L"KeyreapExample.Thermometer",
        .title = L"Keyreap example: thermometer",
        .serverKey = L"InprocServer32",
        .server = OwnPath(),
        .threadingModel = L"Both",
    };
}

} // namespace

} // namespace keyreap::examples

STDAPI DllCanUnloadNow() {
    return keyreap::examples::LivingObjects() == 0 ? S_OK : S_FALSE;
}

STDAPI DllGetClassObject(REFCLSID wantedClass, REFIID wanted, void** found) {
    static keyreap::examples::ClassFactory<keyreap::examples::Thermometer> factory;
    *found = nullptr;
    return wantedClass == CLSID_Thermometer ? factory.QueryInterface(wanted, found)
                                            : CLASS_E_CLASSNOTAVAILABLE;
}

STDAPI DllRegisterServer() {
    return keyreap::examples::RegisterServer(keyreap::examples::Entry());
}

STDAPI DllUnregisterServer() {
    return keyreap::examples::UnregisterServer(keyreap::examples::Entry());
}
