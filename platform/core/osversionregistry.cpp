#include "platform/core/osversionregistry.h"

#include "platform/core/text/text.h"
#include "platform/os/registryopener.h"

#include <algorithm>
#include <optional>
#include <string>

namespace keyreap {

namespace {

constexpr REGSAM readNativeView = KEY_READ | KEY_WOW64_64KEY;
constexpr DWORD longTextBytes = 520;
constexpr DWORD versionTextBytes = 32;
constexpr DWORD suitesBytes = 2048;

// The units of a value of the given type; no result if the value is missing, too long or of another type.
std::optional<std::wstring> ReadUnits(HKEY key, const wchar_t* name, DWORD type, DWORD maximumBytes) {
    std::wstring units(maximumBytes / sizeof(wchar_t), L'\0');
    DWORD foundType = 0;
    DWORD size = maximumBytes;
    const LSTATUS status =
        RegQueryValueExW(key, name, nullptr, &foundType, reinterpret_cast<BYTE*>(units.data()), &size);
    if (status != ERROR_SUCCESS || foundType != type) {
        return std::nullopt;
    }
    units.resize(size / sizeof(wchar_t));
    return units;
}

std::optional<std::wstring> ReadText(HKEY key, const wchar_t* name, DWORD maximumBytes) {
    std::optional<std::wstring> text = ReadUnits(key, name, REG_SZ, maximumBytes);
    if (text) {
        text->erase(std::min(text->find(L'\0'), text->size()));
    }
    return text;
}

std::uint32_t ReadNumber(HKEY key, const wchar_t* name) {
    DWORD number = 0;
    DWORD type = 0;
    DWORD size = sizeof(number);
    const LSTATUS status =
        RegQueryValueExW(key, name, nullptr, &type, reinterpret_cast<BYTE*>(&number), &size);
    return status == ERROR_SUCCESS && type == REG_DWORD && size == sizeof(number) ? number : 0;
}

void ReadVersionNumbers(HKEY key, OsVersion& record) {
    record.majorVersion = ReadNumber(key, L"CurrentMajorVersionNumber");
    record.minorVersion = ReadNumber(key, L"CurrentMinorVersionNumber");
    if (record.majorVersion != 0) {
        return;
    }
    if (const auto text = ReadText(key, L"CurrentVersion", versionTextBytes)) {
        SetVersionFromText(record, *text);
    }
}

void ReadProductOptions(HKEY machineRoot, OsVersion& record) {
    OwnedRegistryKey key;
    if (OpenRegistryKey(machineRoot, L"SYSTEM\\CurrentControlSet\\Control\\ProductOptions", readNativeView,
                        key) != ERROR_SUCCESS) {
        return;
    }
    if (const auto type = ReadText(key.Get(), L"ProductType", longTextBytes)) {
        SetProductType(record, *type);
    }
    if (const auto words = ReadUnits(key.Get(), L"ProductSuite", REG_MULTI_SZ, suitesBytes)) {
        AddProductSuites(record, *words);
    }
}

} // namespace

void ReadOsVersionBelow(HKEY machineRoot, OsVersion& record) {
    OwnedRegistryKey key;
    if (OpenRegistryKey(machineRoot, L"Software\\Microsoft\\Windows NT\\CurrentVersion", readNativeView,
                        key) != ERROR_SUCCESS) {
        return;
    }
    ReadVersionNumbers(key.Get(), record);
    if (const auto build = ReadText(key.Get(), L"CurrentBuildNumber", longTextBytes)) {
        record.buildNumber = TextToInteger(*build);
    }
    if (const auto servicePack = ReadText(key.Get(), L"CSDVersion", longTextBytes)) {
        SetServicePack(record, *servicePack);
    }
    record.isRead = true;
    ReadProductOptions(machineRoot, record);
}

void ReadRunningOsVersion(OsVersion& record) {
    ReadOsVersionBelow(HKEY_LOCAL_MACHINE, record);
}

const OsVersion& RunningVersion() {
    static const OsVersion runningVersion = [] {
        OsVersion record;
        ReadRunningOsVersion(record);
        return record;
    }();
    return runningVersion;
}

} // namespace keyreap
