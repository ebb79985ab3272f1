#include "tests/samples/box/intruder.h"

#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    keyreap::samples::box::TryAll();
    return S_OK;
}
