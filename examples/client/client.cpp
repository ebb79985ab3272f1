// The example client: creates the object that a ProgID names, and calls it in the two ways that a type
// library allows. Usage: client thermometer|journal. Prints one line; the status is 0 if all answers were
// right.
#include <initguid.h>

#include "journal_h.h"
#include "thermometer_h.h"

#include <windows.h>

#include <oleauto.h>

#include <cstdio>
#include <string_view>

namespace {

template <class Interface>
Interface* Create(const wchar_t* progId, DWORD context) {
    CLSID classId = {};
    Interface* object = nullptr;
    if (FAILED(CLSIDFromProgID(progId, &classId)) ||
        FAILED(CoCreateInstance(classId, nullptr, context, __uuidof(Interface),
                                reinterpret_cast<void**>(&object)))) {
        std::printf("there is no such object\n");
        return nullptr;
    }
    return object;
}

// Calls a method with one argument by its name, as a script does. The result is empty if the call fails.
VARIANT CallByName(IDispatch* object, const wchar_t* name, VARIANT argument) {
    VARIANT result = {};
    DISPID member = 0;
    const IID reserved = {};
    auto* names = const_cast<LPOLESTR>(name);
    DISPPARAMS parameters = {&argument, nullptr, 1, 0};
    if (SUCCEEDED(object->GetIDsOfNames(reserved, &names, 1, LOCALE_NEUTRAL, &member))) {
        object->Invoke(member, reserved, LOCALE_NEUTRAL, DISPATCH_METHOD, &parameters, &result, nullptr,
                       nullptr);
    }
    return result;
}

VARIANT Number(double number) {
    VARIANT value = {};
    value.vt = VT_R8;
    value.dblVal = number;
    return value;
}

VARIANT Number(long number) {
    VARIANT value = {};
    value.vt = VT_I4;
    value.lVal = number;
    return value;
}

bool UseThermometer() {
    auto* thermometer = Create<IThermometer>(L"KeyreapExample.Thermometer", CLSCTX_INPROC_SERVER);
    if (thermometer == nullptr) {
        return false;
    }
    double direct = 0;
    thermometer->ToFahrenheit(100, &direct);
    const VARIANT byName = CallByName(thermometer, L"ToFahrenheit", Number(-40.0));
    thermometer->Release();
    std::printf("thermometer: 100 C are %g F, -40 C are %g F\n", direct, byName.dblVal);
    return direct == 212 && byName.vt == VT_R8 && byName.dblVal == -40;
}

bool UseJournal() {
    auto* journal = Create<IJournal>(L"KeyreapExample.Journal", CLSCTX_LOCAL_SERVER);
    if (journal == nullptr) {
        return false;
    }
    long direct = 0;
    long process = 0;
    journal->Append(2, &direct);
    journal->ProcessNumber(&process);
    const VARIANT byName = CallByName(journal, L"Append", Number(3L));
    journal->Release();
    const bool isOwnProcess = process == static_cast<long>(GetCurrentProcessId());
    std::printf("journal: 2 make %ld, and 3 make %ld, in %s process\n", direct, byName.lVal,
                isOwnProcess ? "this" : "another");
    return direct == 2 && byName.vt == VT_I4 && byName.lVal == 5 && process != 0 && !isOwnProcess;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    const std::wstring_view wanted = count > 1 ? arguments[1] : L"";
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const bool succeeded = wanted == L"thermometer" ? UseThermometer() : wanted == L"journal" && UseJournal();
    CoUninitialize();
    return succeeded ? 0 : 1;
}
