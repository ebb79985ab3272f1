// Registers itself without writing anything.
#include <windows.h>

#include <olectl.h>

STDAPI DllRegisterServer() {
    return S_OK;
}
