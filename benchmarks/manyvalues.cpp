// A server that writes many values into one key: as many as the variable KEYREAP_BENCH_VALUES says.

#include <windows.h>

#include <olectl.h>

#include <cstdlib>
#include <cwchar>
#include <string>

STDAPI DllRegisterServer() {
    constexpr std::size_t digits = 7;
    const wchar_t* const wanted = _wgetenv(L"KEYREAP_BENCH_VALUES");
    const unsigned long values = wanted ? std::wcstoul(wanted, nullptr, 10) : 0;
    HKEY key = nullptr;
    RegCreateKeyW(HKEY_CURRENT_USER, L"Software\\KeyreapBenchValues", &key);
    for (DWORD number = 0; number < values; ++number) {
        const std::wstring text = std::to_wstring(number);
        const std::wstring name = std::wstring(digits - text.size(), L'0') + text;
        RegSetValueExW(key, name.c_str(), 0, REG_DWORD, reinterpret_cast<const BYTE*>(&number),
                       sizeof(number));
    }
    RegCloseKey(key);
    return S_OK;
}
