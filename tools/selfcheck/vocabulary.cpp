#include "tools/selfcheck/vocabulary.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

#include <algorithm>
#include <cstdint>
#include <vector>

namespace keyreap {

namespace {

constexpr const wchar_t* registryWords[] = {
    L"REGISTRY", L"MACHINE", L"USER", L".DEFAULT", L"SOFTWARE", L"SYSTEM", L"Classes", L"Wow6432Node",
    L"ControlSet001", L"ControlSet002", L"CurrentControlSet", L"Services", L"Control", L"TimeZoneInformation",
    L"Microsoft", L"Windows", L"Windows NT", L"CurrentVersion", L"Policies", L"Explorer", L"Environment",
    L"Volatile Environment", L"Control Panel", L"International", L"CLSID", L"AppID", L"Interface", L"TypeLib",
    L"ProxyStubClsid", L"ProxyStubClsid32", L"InprocServer32", L"LocalServer32", L"ProgID",
    L"VersionIndependentProgID", L"Wine", L"DllOverrides", L"VirtualStore", L"UNKNOWN!!",
    L"HKEY_CLASSES_ROOT", L"HKEY_CURRENT_USER", L"HKEY_LOCAL_MACHINE", L"HKEY_USERS",
    // What the program itself makes.
    L"Velmoro", L"Tesselink", L"Temporary", L"HKCR", L"HKCU", L"HKU", L"HKLM"};

bool IsNumber(std::wstring_view text) {
    return !text.empty() && text.find_first_not_of(L"0123456789") == std::wstring_view::npos;
}

} // namespace

std::string PlainAscii(std::wstring_view text) {
    constexpr char digits[] = "0123456789abcdef";
    std::string plain;
    for (const wchar_t unit : text) {
        if (unit >= L' ' && unit <= L'~') {
            plain += static_cast<char>(unit);
            continue;
        }
        plain += "\\u";
        for (int shift = 12; shift >= 0; shift -= 4) {
            plain += digits[(static_cast<std::uint16_t>(unit) >> shift) & 0xF];
        }
    }
    return plain;
}

std::wstring AnonymousSid(std::wstring_view name) {
    constexpr std::wstring_view classes = L"_Classes";
    // S, the revision, the authority and its first number say what kind of account it is.
    constexpr std::size_t kind = 4;
    const bool hasClasses = name.ends_with(classes);
    const std::wstring_view sid = hasClasses ? name.substr(0, name.size() - classes.size()) : name;
    const std::vector<std::wstring> parts = SplitText(sid, L"-", false);
    const bool isSid = parts.size() >= 3 && EqualFolded(parts.front(), L"S") &&
                       std::all_of(parts.begin() + 1, parts.end(), IsNumber);
    if (!isSid) {
        return {};
    }
    std::wstring text = L"S";
    for (std::size_t i = 1; i < std::min(parts.size(), kind); ++i) {
        text += L"-" + parts[i];
    }
    text += parts.size() > kind ? L"-*" : L"";
    return text + (hasClasses ? std::wstring(classes) : L"");
}

Vocabulary::Vocabulary() {
    for (const wchar_t* word : registryWords) {
        Add(word);
    }
}

void Vocabulary::Add(std::wstring_view path) {
    for (const std::wstring& name : SplitText(path, L"\\", true)) {
        words.insert(FoldedText(name));
    }
}

bool Vocabulary::Contains(std::wstring_view name) const {
    return words.contains(FoldedText(std::wstring(name)));
}

std::string Vocabulary::Reported(std::wstring_view path) const {
    std::string text;
    for (std::size_t at = 0; at <= path.size();) {
        const std::size_t end = std::min(path.find(L'\\', at), path.size());
        text += ReportedName(path.substr(at, end - at));
        text += end < path.size() ? "\\" : "";
        at = end + 1;
    }
    return text;
}

std::string Vocabulary::ReportedName(std::wstring_view name) const {
    if (name.empty() || Contains(name)) {
        return PlainAscii(name);
    }
    const std::wstring sid = AnonymousSid(name);
    return sid.empty() ? "?" : PlainAscii(sid);
}

} // namespace keyreap
