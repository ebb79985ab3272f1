#include "kit/check/foundentries.h"

#include "kit/capture/libraryentries.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

struct NamedResult {
    std::uint32_t result;
    std::wstring_view name;
};

// Of winerror.h and olectl.h. The codes of Win32 errors have the names of these.
constexpr std::array<NamedResult, 27> names = {{
    {0x00000000, L"S_OK"},
    {0x00000001, L"S_FALSE"},
    {0x80004001, L"E_NOTIMPL"},
    {0x80004002, L"E_NOINTERFACE"},
    {0x80004003, L"E_POINTER"},
    {0x80004004, L"E_ABORT"},
    {0x80004005, L"E_FAIL"},
    {0x8000FFFF, L"E_UNEXPECTED"},
    {0x8002801C, L"TYPE_E_REGISTRYACCESS"},
    {0x80029C4A, L"TYPE_E_CANTLOADLIBRARY"},
    {0x80040110, L"CLASS_E_NOAGGREGATION"},
    {0x80040111, L"CLASS_E_CLASSNOTAVAILABLE"},
    {0x80040112, L"CLASS_E_NOTLICENSED"},
    {0x80040154, L"REGDB_E_CLASSNOTREG"},
    {0x80040155, L"REGDB_E_IIDNOTREG"},
    {0x80040200, L"SELFREG_E_TYPELIB"},
    {0x80040201, L"SELFREG_E_CLASS"},
    {0x800401F0, L"CO_E_NOTINITIALIZED"},
    {0x800401F8, L"CO_E_DLLNOTFOUND"},
    {0x80070002, L"ERROR_FILE_NOT_FOUND"},
    {0x80070003, L"ERROR_PATH_NOT_FOUND"},
    {0x80070005, L"E_ACCESSDENIED"},
    {0x8007000E, L"E_OUTOFMEMORY"},
    {0x80070057, L"E_INVALIDARG"},
    {0x8007007E, L"ERROR_MOD_NOT_FOUND"},
    {0x8007007F, L"ERROR_PROC_NOT_FOUND"},
    {0x800700C1, L"ERROR_BAD_EXE_FORMAT"},
}};

} // namespace

std::wstring_view RegistryName(const RegistrationFacts& registration) {
    return registration.hasClasses ? L"a full registry" : L"a registry without classes";
}

std::wstring ResultText(std::uint32_t result) {
    constexpr std::size_t digits = 8;
    std::wstring text = HexToText(result, digits);
    std::ranges::transform(text, text.begin(), [](wchar_t unit) {
        return unit >= L'a' ? static_cast<wchar_t>(unit - L'a' + L'A') : unit;
    });
    text.insert(0, L"0x");
    const auto* const named =
        std::ranges::find_if(names, [result](const NamedResult& one) { return one.result == result; });
    return named == names.end() ? text : text + L" (" + std::wstring(named->name) + L')';
}

bool IsOfHost(std::wstring_view key, std::wstring_view value) {
    constexpr std::wstring_view fonts =
        L"HKEY_LOCAL_MACHINE\\System\\CurrentControlSet\\Hardware Profiles\\Current\\Software\\Fonts";
    return StartsWithFolded(key, fonts) || !LibraryThatWrites(key, value).empty();
}

std::wstring StatusText(std::uint32_t status) {
    return IsFailure(status) ? ResultText(status) : std::to_wstring(status);
}

bool TopmostKeys::Add(const std::wstring& comparedKey) {
    for (std::size_t end = comparedKey.size(); end != std::wstring::npos && end > 0;
         end = comparedKey.rfind(L'\\', end - 1)) {
        if (keys.contains(comparedKey.substr(0, end))) {
            return false;
        }
    }
    keys.insert(comparedKey);
    return true;
}

} // namespace keyreap
