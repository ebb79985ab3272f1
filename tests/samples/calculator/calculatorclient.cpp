// Creates the calculator by its ProgID and lets it add two and three. The status is the sum, or -1 if there
// is no calculator.
#include <initguid.h>

#include "calculator_h.h"

#include <windows.h>

#include <objbase.h>

namespace {

int AddWith(ICalculator* calculator) {
    LONG sum = 0;
    return SUCCEEDED(calculator->Add(2, 3, &sum)) ? sum : -1;
}

int CreateAndAdd() {
    CLSID classId = {};
    ICalculator* calculator = nullptr;
    if (FAILED(CLSIDFromProgID(L"Keyreap.Calculator", &classId)) ||
        FAILED(CoCreateInstance(classId, nullptr, CLSCTX_INPROC_SERVER, IID_ICalculator,
                                reinterpret_cast<void**>(&calculator)))) {
        return -1;
    }
    const int sum = AddWith(calculator);
    calculator->Release();
    return sum;
}

} // namespace

int wmain() {
    CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
    const int sum = CreateAndAdd();
    CoUninitialize();
    return sum;
}
