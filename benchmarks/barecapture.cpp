// The bare system calls of a capture, without a look at the file, without texts and without decisions. No
// capture by these steps can be faster.
//   barecapture FILE OUT [FILE OUT ...]   by redirection: walks the temporary trees, writes every key and
//                                         value at once, then removes them
//   barecapture --list LIST FILE OUT      like a traced capture, but without the trace: reads and removes
//                                         each key and value of LIST
//   barecapture --live LIST FILE OUT      the same without redirection
// OUT gets a line for each key and each value, in UTF-16. LIST has a line for each key, K and its path among
// the temporary keys (--live: below HKEY_CURRENT_USER), and after it a line for each of its values, V and the
// name. The exit status is 0 if all servers were registered.

#include "extract/startmodules.h"
#include "platform/os/entrypoint.h"
#include "platform/os/ownedhandle.h"
#include "platform/os/registryopener.h"

#include <windows.h>

#include <objbase.h>

#include <array>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace {

using namespace keyreap;

constexpr wchar_t placePath[] = L"Software\\Keyreap Bench\\Bare";
const std::array<HKEY, 4> roots{HKEY_CLASSES_ROOT, HKEY_CURRENT_USER, HKEY_USERS, HKEY_LOCAL_MACHINE};
constexpr std::array treeNames{L"HKCR", L"HKCU", L"HKU", L"HKLM"};
constexpr REGSAM readWrite = KEY_READ | KEY_WRITE;

struct ListedKey {
    std::wstring path;
    std::vector<std::wstring> values;
};

// How servers are captured.
struct Way {
    bool redirects = true;
    bool lists = false; // the content of the list is read and removed, not that of the trees
    std::vector<ListedKey> listed = {};
};

using Trees = std::array<OwnedRegistryKey, roots.size()>;

std::wstring TreePath(std::size_t number) {
    return std::wstring(placePath) + L"\\Temporary\\" + treeNames[number];
}

void WriteLine(HANDLE file, std::wstring_view text) {
    const std::wstring line = std::wstring(text) + L'\n';
    DWORD written = 0;
    WriteFile(file, line.data(), static_cast<DWORD>(line.size() * sizeof(WCHAR)), &written, nullptr);
}

std::vector<std::wstring> Subkeys(HKEY key) {
    std::vector<std::wstring> names;
    std::array<wchar_t, 256> name;
    auto length = static_cast<DWORD>(name.size());
    for (DWORD index = 0;
         RegEnumKeyExW(key, index, name.data(), &length, nullptr, nullptr, nullptr, nullptr) == ERROR_SUCCESS;
         ++index) {
        names.emplace_back(name.data(), length);
        length = static_cast<DWORD>(name.size());
    }
    return names;
}

void RemoveTree(HKEY parent, const std::wstring& name) {
    OwnedRegistryKey key;
    if (OpenRegistryKey(parent, name.c_str(), readWrite, key) == ERROR_SUCCESS) {
        for (const std::wstring& child : Subkeys(key.Get())) {
            RemoveTree(key.Get(), child);
        }
    }
    key.Reset();
    RegDeleteKeyExW(parent, name.c_str(), 0, 0);
}

// Deletes the key and then its parents, while they are empty. True if the key itself was deleted.
bool RemoveChain(std::wstring path) {
    bool removed = false;
    LSTATUS status = ERROR_SUCCESS;
    while (status == ERROR_SUCCESS && path.find(L'\\') != std::wstring::npos) {
        const std::wstring leaf = path.substr(path.rfind(L'\\') + 1);
        path.resize(path.rfind(L'\\'));
        OwnedRegistryKey parent;
        status = OpenRegistryKey(HKEY_CURRENT_USER, path.c_str(), KEY_ALL_ACCESS, parent);
        if (status == ERROR_SUCCESS) {
            status = RegDeleteKeyExW(parent.Get(), leaf.c_str(), 0, 0);
        }
        removed = removed || status == ERROR_SUCCESS;
    }
    return removed;
}

void Redirect(const Trees& trees) {
    for (std::size_t number = 0; number < roots.size(); ++number) {
        for (const std::wstring& left : Subkeys(trees[number].Get())) {
            RemoveTree(trees[number].Get(), left);
        }
        RegOverridePredefKey(roots[number], trees[number].Get());
    }
    OwnedRegistryKey classes;
    CreateRegistryKey(HKEY_LOCAL_MACHINE, L"Software\\Classes", readWrite, classes);
}

void Restore(const Trees& trees) {
    for (const HKEY root : roots) {
        RegOverridePredefKey(root, nullptr);
    }
    OwnedRegistryKey software;
    OpenRegistryKey(HKEY_LOCAL_MACHINE, L"Software", readWrite, software);
    RegDeleteKeyW(software.Get(), L"Classes");
    RegDeleteKeyW(trees.back().Get(), L"Software");
}

struct Registration {
    const wchar_t* file;
    const Trees& trees;
    bool redirects;
    bool done = false;

    void Run() {
        if (redirects) {
            Redirect(trees);
        }
        const OwnedModule server(LoadLibraryExW(file, nullptr, LOAD_WITH_ALTERED_SEARCH_PATH));
        using Register = HRESULT(WINAPI*)();
        if (const auto registerServer = FindEntryPoint<Register>(server.Get(), "DllRegisterServer")) {
            registerServer();
            done = true;
        }
        if (redirects) {
            Restore(trees);
        }
    }

    static DWORD WINAPI OnThread(void* registration) {
        CoInitializeEx(nullptr, COINIT_APARTMENTTHREADED);
        static_cast<Registration*>(registration)->Run();
        CoUninitialize();
        return 0;
    }
};

bool RegisterOnThread(const wchar_t* file, const Trees& trees, bool redirects) {
    Registration registration{file, trees, redirects};
    const OwnedHandle thread(CreateThread(nullptr, 0, Registration::OnThread, &registration, 0, nullptr));
    WaitForSingleObject(thread.Get(), INFINITE);
    return registration.done;
}

void WalkValues(HANDLE output, HKEY key) {
    std::array<wchar_t, 260> name;
    std::vector<BYTE> data(520);
    for (DWORD index = 0;; ++index) {
        auto length = static_cast<DWORD>(name.size());
        auto size = static_cast<DWORD>(data.size());
        LSTATUS status =
            RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, data.data(), &size);
        if (status == ERROR_MORE_DATA) {
            data.resize(size);
            length = static_cast<DWORD>(name.size());
            status = RegEnumValueW(key, index, name.data(), &length, nullptr, nullptr, data.data(), &size);
        }
        if (status != ERROR_SUCCESS) {
            return;
        }
        WriteLine(output, {name.data(), length});
    }
}

void WalkTree(HANDLE output, HKEY key, const std::wstring& path) {
    WriteLine(output, path);
    WalkValues(output, key);
    for (const std::wstring& name : Subkeys(key)) {
        const std::wstring childPath = path + L'\\' + name;
        OwnedRegistryKey child;
        OpenRegistryKey(HKEY_CURRENT_USER, childPath.c_str(), KEY_READ, child);
        WalkTree(output, child.Get(), childPath);
    }
}

// Writes the name of the value if it could be read.
void ReadValue(HANDLE output, const std::wstring& path, const std::wstring& value) {
    OwnedRegistryKey key;
    OpenRegistryKey(HKEY_CURRENT_USER, path.c_str(), readWrite, key);
    BYTE nothing = 0;
    DWORD size = 0;
    LSTATUS status = RegQueryValueExW(key.Get(), value.c_str(), nullptr, nullptr, &nothing, &size);
    if (status == ERROR_MORE_DATA) {
        std::vector<BYTE> data(size);
        status = RegQueryValueExW(key.Get(), value.c_str(), nullptr, nullptr, data.data(), &size);
    }
    if (status == ERROR_SUCCESS) {
        WriteLine(output, value);
    }
}

void RemoveValue(const std::wstring& path, const std::wstring& value) {
    OwnedRegistryKey key;
    OpenRegistryKey(HKEY_CURRENT_USER, path.c_str(), KEY_ALL_ACCESS, key);
    RegDeleteValueW(key.Get(), value.c_str());
}

// Writes the name of each value that could be read and the path of each key that was deleted.
void ReadAndRemove(HANDLE output, const std::vector<ListedKey>& listed) {
    for (const ListedKey& key : listed) {
        for (const std::wstring& value : key.values) {
            ReadValue(output, key.path, value);
        }
    }
    for (const ListedKey& key : listed) {
        for (const std::wstring& value : key.values) {
            RemoveValue(key.path, value);
        }
        if (RemoveChain(key.path)) {
            WriteLine(output, key.path);
        }
    }
}

std::wstring TextOf(const wchar_t* path) {
    const OwnedFile file(
        CreateFileW(path, GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    std::wstring text(GetFileSize(file.Get(), nullptr) / sizeof(WCHAR), L'\0');
    DWORD got = 0;
    ReadFile(file.Get(), text.data(), static_cast<DWORD>(text.size() * sizeof(WCHAR)), &got, nullptr);
    return text;
}

// `below` goes in front of the path of each key.
std::vector<ListedKey> ReadList(const wchar_t* path, const std::wstring& below) {
    std::vector<ListedKey> listed;
    const std::wstring text = TextOf(path);
    for (std::size_t start = 0, end = 0; (end = text.find(L'\n', start)) != std::wstring::npos;
         start = end + 1) {
        std::wstring name = text.substr(start + 1, end - start - 1);
        if (text[start] == L'K') {
            listed.push_back({below + name, {}});
        } else if (!listed.empty()) {
            listed.back().values.push_back(std::move(name));
        }
    }
    return listed;
}

bool Capture(const wchar_t* file, const wchar_t* out, const Way& way) {
    // Does not exist before the first capture, and stays for the next one.
    OwnedRegistryKey place;
    OpenRegistryKey(HKEY_CURRENT_USER, placePath, readWrite, place);
    Trees trees;
    for (std::size_t number = 0; number < trees.size(); ++number) {
        CreateRegistryKey(HKEY_CURRENT_USER, TreePath(number).c_str(), KEY_ALL_ACCESS, trees[number]);
    }
    const bool registered = RegisterOnThread(file, trees, way.redirects);
    const OwnedFile output(CreateFileW(out, GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, 0, nullptr));
    if (way.lists) {
        ReadAndRemove(output.Get(), way.listed);
    } else {
        for (std::size_t number = 0; number < trees.size(); ++number) {
            WalkTree(output.Get(), trees[number].Get(), TreePath(number));
        }
    }
    RemoveTree(place.Get(), L"Temporary");
    return registered && output.Valid();
}

bool Run(std::span<wchar_t*> words) {
    LoadStartModules();
    const std::wstring_view option = words.size() == 4 ? words[0] : L"";
    if (option == L"--list") {
        const std::wstring below = std::wstring(placePath) + L"\\Temporary\\";
        return Capture(words[2], words[3], {true, true, ReadList(words[1], below)});
    }
    if (option == L"--live") {
        return Capture(words[2], words[3], {false, true, ReadList(words[1], L"")});
    }
    bool registered = true;
    for (std::size_t at = 0; at + 1 < words.size(); at += 2) {
        registered = Capture(words[at], words[at + 1], {}) && registered;
    }
    return registered;
}

} // namespace

int wmain(int count, wchar_t* words[]) {
    return Run({words + 1, static_cast<std::size_t>(count - 1)}) ? 0 : 1;
}
