#include "kit/live/keynames.h"

#include "platform/core/text/compare.h"
#include "platform/os/ownedhandle.h"

#include <sddl.h>

#include <array>
#include <cstddef>

namespace keyreap {

namespace {

struct Root {
    const wchar_t* name;
    HKEY key;
};

const std::array<Root, 5> roots{{{L"HKEY_CLASSES_ROOT", HKEY_CLASSES_ROOT},
                                 {L"HKEY_CURRENT_USER", HKEY_CURRENT_USER},
                                 {L"HKEY_LOCAL_MACHINE", HKEY_LOCAL_MACHINE},
                                 {L"HKEY_USERS", HKEY_USERS},
                                 {L"HKEY_CURRENT_CONFIG", HKEY_CURRENT_CONFIG}}};

std::wstring UserSid() {
    HANDLE token = nullptr;
    if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &token) == FALSE) {
        return {};
    }
    const OwnedHandle owned(token);
    alignas(TOKEN_USER) std::array<std::byte, sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE> user{};
    DWORD size = 0;
    wchar_t* text = nullptr;
    if (GetTokenInformation(token, TokenUser, user.data(), static_cast<DWORD>(user.size()), &size) == FALSE ||
        ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user.data())->User.Sid, &text) == FALSE) {
        return {};
    }
    const std::wstring sid = text;
    LocalFree(text);
    return sid;
}

} // namespace

UserKeyNames::UserKeyNames() {
    if (const std::wstring sid = UserSid(); !sid.empty()) {
        hive = L"HKEY_USERS\\" + sid;
    }
}

std::wstring UserKeyNames::NameOf(const std::wstring& name) const {
    if (hive.empty()) {
        return name;
    }
    const std::wstring classes = hive + L"_Classes";
    const std::wstring below = name + L'\\';
    if (StartsWithFolded(below, hive + L'\\')) {
        return L"HKEY_CURRENT_USER" + name.substr(hive.size());
    }
    return StartsWithFolded(below, classes + L'\\')
               ? L"HKEY_CURRENT_USER\\Software\\Classes" + name.substr(classes.size())
               : name;
}

std::pair<HKEY, std::wstring> RootAndPath(const std::wstring& name) {
    const std::size_t end = name.find(L'\\');
    for (const Root& root : roots) {
        if (EqualFolded(name.substr(0, end), root.name)) {
            return {root.key, end == std::wstring::npos ? std::wstring() : name.substr(end + 1)};
        }
    }
    return {nullptr, {}};
}

} // namespace keyreap
