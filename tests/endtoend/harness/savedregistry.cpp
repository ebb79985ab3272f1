#include "tests/endtoend/harness/savedregistry.h"

#include "tests/endtoend/harness/files.h"
#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stricthost.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <set>
#include <sstream>

namespace keyreap::endtoend {

namespace {

struct Hive {
    HKEY root;
    const wchar_t* path;
    const wchar_t* name;
};

const Hive hives[] = {{HKEY_LOCAL_MACHINE, L"", L"HKLM"},
                      {HKEY_CURRENT_USER, L"", L"HKCU"},
                      {HKEY_USERS, L".DEFAULT", L"HKU\\.DEFAULT"}};

// Values that Wine sets in each new process, to that process's code pages.
const std::set<std::wstring>& SetByEveryStart() {
    static const std::set<std::wstring> values = {
        L"HKCU\\Software\\Wine\\Fonts [Codepages]",
        L"HKLM\\" + RealControlSet() + L"\\Hardware Profiles\\Current\\Software\\Fonts [OEMFONT.FON]"};
    return values;
}

void AllowBackups() {
    HANDLE token = nullptr;
    TOKEN_PRIVILEGES privileges = {1, {{{}, SE_PRIVILEGE_ENABLED}}};
    OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &token);
    LookupPrivilegeValueW(nullptr, L"SeBackupPrivilege", &privileges.Privileges[0].Luid);
    AdjustTokenPrivileges(token, FALSE, &privileges, 0, nullptr, nullptr);
    CloseHandle(token);
}

std::wstring TemporaryFile() {
    wchar_t folder[MAX_PATH + 1] = {};
    GetTempPathW(MAX_PATH, folder);
    return std::wstring(folder) + L"keyreap" + std::to_wstring(GetCurrentProcessId()) + L".hive";
}

std::string TextOf(const Hive& hive) {
    const std::wstring file = TemporaryFile();
    HKEY key = nullptr;
    RegOpenKeyExW(hive.root, hive.path, 0, KEY_READ, &key);
    EXPECT_EQ(RegSaveKeyW(key, file.c_str(), nullptr), ERROR_SUCCESS) << "A hive cannot be saved.";
    RegCloseKey(key);
    const Bytes bytes = ReadBytes(file).value_or(Bytes());
    DeleteFileW(file.c_str());
    return {bytes.begin(), bytes.end()};
}

// The part of a saved line up to the quote or bracket that ends it. A backslash escapes the next character.
std::wstring Enclosed(const std::string& line, char end) {
    std::wstring text;
    for (std::size_t at = 1; at < line.size() && line[at] != end; ++at) {
        at += line[at] == '\\' && at + 1 < line.size() ? 1U : 0U;
        text += static_cast<wchar_t>(static_cast<unsigned char>(line[at]));
    }
    return text;
}

// One line of a saved hive with its continuation lines.
bool NextLine(std::istream& lines, std::string& line) {
    if (!std::getline(lines, line)) {
        return false;
    }
    std::string more;
    while (!line.starts_with('[') && line.ends_with('\\') && std::getline(lines, more)) {
        line += more;
    }
    return true;
}

void AppendChanges(const std::wstring& path, const SavedRegistry::Values& before,
                   const SavedRegistry::Values& after, std::vector<std::wstring>& changes) {
    SavedRegistry::Values all = before;
    all.insert(after.begin(), after.end());
    for (const auto& [name, data] : all) {
        const auto old = before.find(name);
        const auto now = after.find(name);
        const std::wstring line = path + L" [" + name + L"]";
        const bool same = old != before.end() && now != after.end() && old->second == now->second;
        if (!same && !SetByEveryStart().contains(line)) {
            changes.push_back(L"! " + line);
        }
    }
}

} // namespace

SavedRegistry::SavedRegistry() {
    AllowBackups();
    for (const Hive& hive : hives) {
        Read(hive.name, TextOf(hive));
    }
}

// A key that has subkeys and no values is not saved; only the paths of its subkeys show it.
void SavedRegistry::Read(const std::wstring& root, const std::string& text) {
    std::istringstream lines(text);
    std::string line;
    std::wstring path;
    while (NextLine(lines, line)) {
        if (line.starts_with('[')) {
            path = root + L"\\" + Enclosed(line, ']');
            for (std::size_t end = path.size(); end != std::wstring::npos && end > root.size();
                 end = path.rfind(L'\\', end - 1)) {
                keys[path.substr(0, end)];
            }
        } else if (line.starts_with('"') || line.starts_with('@')) {
            const std::wstring name = line.front() == '@' ? std::wstring() : Enclosed(line, '"');
            keys[path][name] = std::wstring(line.begin(), line.end());
        }
    }
}

std::vector<std::wstring> SavedRegistry::Changes() const {
    const SavedRegistry after;
    std::vector<std::wstring> changes;
    for (const auto& [path, values] : after.keys) {
        if (!keys.contains(path)) {
            changes.push_back(L"+ " + path);
        }
    }
    for (const auto& [path, values] : keys) {
        if (!after.keys.contains(path)) {
            changes.push_back(L"- " + path);
        }
    }
    for (const auto& [path, values] : keys) {
        if (const auto now = after.keys.find(path); now != after.keys.end()) {
            AppendChanges(path, values, now->second, changes);
        }
    }
    return changes;
}

testing::AssertionResult SavedRegistry::Changed(const std::vector<std::wstring>& expected) const {
    std::vector<std::wstring> left = Changes();
    std::vector<std::wstring> wanted = expected;
    DropListedChanges(left, wanted);
    if (left == wanted) {
        return testing::AssertionSuccess();
    }
    return testing::AssertionFailure()
           << testing::PrintToString(left) << " instead of " << testing::PrintToString(wanted);
}

} // namespace keyreap::endtoend
