// The parts of the program that talk to the registry and to the disk, each in its own process:
//   registrybench fill KEYS VALUES          creates a tree of KEYS keys with VALUES values each
//   registrybench harvest FILE              writes that tree to a .reg file, as a session writes its own
//   registrybench enumerate                 reads all of that tree and writes nothing
//   registrybench write FILE KEYS VALUES    writes such a file without a registry
// The exit status is 0 if it succeeded.

#include "regfile/regfilewriter.h"
#include "registry/harvest.h"
#include "registry/regkey.h"

#include <cstdlib>
#include <cwchar>
#include <span>
#include <string>

namespace {

using namespace keyreap;

constexpr wchar_t treePath[] = L"Software\\Keyreap Bench";
constexpr wchar_t treeName[] = L"HKEY_CURRENT_USER\\Software\\Keyreap Bench";
constexpr unsigned keysOfGroup = 100;

struct Value {
    std::wstring name;
    std::wstring text;
};

Value ValueAt(unsigned number) {
    const std::wstring digits = std::to_wstring(number);
    return {L"Value " + digits, L"C:\\Program Files\\Acme\\server" + digits + L".dll"};
}

std::wstring KeyAt(unsigned number) {
    return L"Group " + std::to_wstring(number / keysOfGroup) + L"\\{" + std::to_wstring(number) +
           L"-79EAC9D0-BAF9-11CE-8C82}";
}

LSTATUS SetText(HKEY key, const Value& value) {
    const auto* bytes = reinterpret_cast<const BYTE*>(value.text.c_str());
    return RegSetValueExW(key, value.name.c_str(), 0, REG_SZ, bytes,
                          static_cast<DWORD>((value.text.size() + 1) * sizeof(WCHAR)));
}

bool Fill(unsigned keys, unsigned values) {
    for (unsigned number = 0; number < keys; ++number) {
        RegKey key;
        const std::wstring path = std::wstring(treePath) + L'\\' + KeyAt(number);
        if (key.Create(HKEY_CURRENT_USER, path, RegKey::fullAccess) != ERROR_SUCCESS) {
            return false;
        }
        for (unsigned value = 0; value < values; ++value) {
            if (SetText(key.Handle(), ValueAt(value)) != ERROR_SUCCESS) {
                return false;
            }
        }
    }
    return true;
}

bool Harvest(const wchar_t* file) {
    const RegKey tree(treePath, HKEY_CURRENT_USER, false);
    RegFileWriter writer(file);
    HarvestKey(writer, tree, treeName);
    return tree.Handle() != nullptr;
}

// Makes the registry calls of a harvest.
void Enumerate(const RegKey& key) {
    std::wstring name;
    ValueText text;
    std::uint32_t type = 0;
    for (std::uint32_t index = 0; key.EnumValue(index, name, text, type); ++index) {
    }
    for (const std::wstring& child : key.EnumSubkeys()) {
        Enumerate(key.OpenChild(child));
    }
}

bool EnumerateTree() {
    const RegKey tree(treePath, HKEY_CURRENT_USER, false);
    Enumerate(tree);
    return tree.Handle() != nullptr;
}

bool Write(const wchar_t* file, unsigned keys, unsigned values) {
    RegFileWriter writer(file);
    for (unsigned number = 0; number < keys; ++number) {
        writer.AddKey(std::wstring(treeName) + L'\\' + KeyAt(number));
        for (unsigned value = 0; value < values; ++value) {
            const Value written = ValueAt(value);
            writer.AddValue(written.name, written.text, REG_SZ);
        }
    }
    return true;
}

unsigned Number(const wchar_t* word) {
    return static_cast<unsigned>(std::wcstoul(word, nullptr, 10));
}

bool Run(std::span<wchar_t*> words) {
    const std::wstring verb = words.size() > 1 ? words[1] : L"";
    if (verb == L"fill" && words.size() == 4) {
        return Fill(Number(words[2]), Number(words[3]));
    }
    if (verb == L"harvest" && words.size() == 3) {
        return Harvest(words[2]);
    }
    if (verb == L"enumerate" && words.size() == 2) {
        return EnumerateTree();
    }
    return verb == L"write" && words.size() == 5 && Write(words[2], Number(words[3]), Number(words[4]));
}

} // namespace

int wmain(int count, wchar_t** words) {
    return Run({words, static_cast<std::size_t>(count)}) ? 0 : 1;
}
