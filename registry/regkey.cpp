#include "registry/regkey.h"

#include "platform/os/entrypoint.h"
#include "platform/os/ownkeys.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr std::size_t bufferUnits = 260;
// The buffer length passed to the system is larger than every key name that it allows.
constexpr DWORD subkeyNameUnits = 520;

std::wstring FullNameOf(HKEY root, std::wstring_view path) {
    std::wstring name = RootName(root);
    if (!path.empty()) {
        if (path.back() == L'\\') {
            path.remove_suffix(1);
        }
        name.append(1, L'\\').append(path);
    }
    return name;
}

DeleteKeyExFunction FindDeleteKeyEx() {
    static bool searched = false;
    static DeleteKeyExFunction found = nullptr;
    if (!searched) {
        if (const HMODULE advapi = GetModuleHandleW(L"Advapi32.dll")) {
            found = FindEntryPoint<DeleteKeyExFunction>(advapi, "RegDeleteKeyExW");
        }
        searched = true;
    }
    return found;
}

// The buffers for one value, and its sizes and type from the system.
struct ValueBuffers {
    std::vector<wchar_t> name = std::vector<wchar_t>(bufferUnits);
    std::vector<std::uint8_t> data = std::vector<std::uint8_t>(bufferUnits * sizeof(WCHAR));
    DWORD nameLength = bufferUnits;
    DWORD dataSize = bufferUnits * sizeof(WCHAR);
    DWORD type = 0;

    LSTATUS Read(HKEY key, DWORD index) {
        return RegEnumValueW(key, index, name.data(), &nameLength, nullptr, &type, data.data(), &dataSize);
    }

    void Grow() {
        data.resize((dataSize / sizeof(WCHAR) + 1) * sizeof(WCHAR));
        ++dataSize;
        ++nameLength;
        name.resize(std::max<std::size_t>(name.size(), nameLength));
    }
};

} // namespace

RegKey::RegKey(std::wstring_view keyPath, HKEY predefinedRoot, bool writable)
    : path(keyPath), fullName(FullNameOf(predefinedRoot, keyPath)), root(predefinedRoot),
      access(writable ? readWriteAccess : readAccess) {
    Open(root, path, access);
}

LSTATUS RegKey::Open(HKEY parent, const std::wstring& subkey, std::uint32_t wantedAccess) {
    const LSTATUS status = OpenRegistryKey(parent, subkey.c_str(), wantedAccess, handle);
    if (status == ERROR_SUCCESS) {
        viewFlags = wantedAccess & viewMask;
    }
    return status;
}

LSTATUS RegKey::Create(HKEY parent, const std::wstring& subkey, std::uint32_t wantedAccess) {
    const LSTATUS status = CreateRegistryKey(parent, subkey.c_str(), wantedAccess, handle);
    if (status == ERROR_SUCCESS) {
        viewFlags = wantedAccess & viewMask;
    }
    return status;
}

void RegKey::CreateIfMissing() {
    if (!handle.Valid()) {
        Create(root, path, access | fullAccess);
    }
}

std::wstring RegKey::ChildPath(std::wstring_view name) const {
    // Deliberate: a path that ends in a backslash gives a doubled one here; the key is the same.
    std::wstring child = path;
    if (!child.empty()) {
        child += L'\\';
    }
    return child.append(name);
}

RegKey RegKey::OpenChild(std::wstring_view name) const {
    return RegKey(ChildPath(name), root, false);
}

RegKey RegKey::CreateChild(std::wstring_view name) const {
    RegKey child(ChildPath(name), root, true);
    child.CreateIfMissing();
    return child;
}

void RegKey::Close() {
    handle.Reset();
    viewFlags = 0;
}

LSTATUS RegKey::DeleteKey(const std::wstring& name) const {
    const std::uint32_t view = viewFlags | ViewOfOwnKey(handle.Get(), name.c_str());
    return DeleteKeyThrough(FindDeleteKeyEx(), handle.Get(), name, view);
}

LSTATUS RegKey::DeleteSubtree(const std::wstring& name) const {
    RegKey subkey;
    LSTATUS status = subkey.Open(handle.Get(), name, viewFlags | readWriteAccess);
    if (status != ERROR_SUCCESS) {
        return status;
    }
    std::array<wchar_t, 256> child;
    DWORD length = static_cast<DWORD>(child.size());
    // Always index 0: each round deletes the subkey that it found.
    while (RegEnumKeyExW(subkey.Handle(), 0, child.data(), &length, nullptr, nullptr, nullptr, nullptr) ==
           ERROR_SUCCESS) {
        status = subkey.DeleteSubtree(std::wstring(child.data(), length));
        if (status != ERROR_SUCCESS) {
            return status;
        }
        length = static_cast<DWORD>(child.size());
    }
    subkey.Close();
    return DeleteKey(name);
}

void RegKey::ClearSubkeys() const {
    for (const std::wstring& name : EnumSubkeys()) {
        DeleteSubtree(name);
    }
}

std::vector<std::wstring> RegKey::EnumSubkeys() const {
    std::vector<std::wstring> names;
    std::array<wchar_t, subkeyNameUnits> name;
    DWORD length = subkeyNameUnits;
    for (DWORD index = 0; RegEnumKeyExW(handle.Get(), index, name.data(), &length, nullptr, nullptr, nullptr,
                                        nullptr) == ERROR_SUCCESS;
         ++index) {
        names.emplace_back(name.data(), length);
        length = subkeyNameUnits;
    }
    return names;
}

bool RegKey::EnumValue(std::uint32_t index, std::wstring& name, ValueText& text, std::uint32_t& type) const {
    ValueBuffers value;
    LSTATUS status = value.Read(handle.Get(), index);
    if (status == ERROR_MORE_DATA) {
        // Deliberate: only two tries; a value that still doesn't fit ends the enumeration of its key.
        value.Grow();
        status = value.Read(handle.Get(), index);
    }
    if (status != ERROR_SUCCESS) {
        return false;
    }
    name.assign(value.name.data(), value.nameLength);
    HarvestValueText(value.type, {value.data.data(), value.dataSize}, text);
    type = value.type;
    return true;
}

std::wstring RootName(HKEY root) {
    if (root == HKEY_CLASSES_ROOT) {
        return L"HKEY_CLASSES_ROOT";
    }
    if (root == HKEY_CURRENT_USER) {
        return L"HKEY_CURRENT_USER";
    }
    if (root == HKEY_LOCAL_MACHINE) {
        return L"HKEY_LOCAL_MACHINE";
    }
    if (root == HKEY_USERS) {
        return L"HKEY_USERS";
    }
    return {};
}

bool DeleteEmptyKeyChain(HKEY root, std::wstring_view path) {
    const std::size_t backslash = path.rfind(L'\\');
    const bool hasParent = backslash != std::wstring_view::npos;
    const std::wstring_view parentPath = hasParent ? path.substr(0, backslash) : std::wstring_view();
    const std::wstring leaf(hasParent ? path.substr(backslash + 1) : path);
    if (leaf.empty()) {
        // The end is the root. Not every system refuses to delete an empty name, so there is no call.
        return false;
    }
    RegKey parent;
    if (parent.Open(root, std::wstring(parentPath), RegKey::fullAccess) != ERROR_SUCCESS) {
        return false;
    }
    const LSTATUS status = parent.DeleteKey(leaf);
    parent.Close();
    if (status != ERROR_SUCCESS) {
        return false;
    }
    DeleteEmptyKeyChain(root, parentPath);
    return true;
}

LSTATUS DeleteKeyThrough(DeleteKeyExFunction deleteKeyEx, HKEY parent, const std::wstring& name,
                         std::uint32_t flags) {
    return deleteKeyEx ? deleteKeyEx(parent, name.c_str(), flags, 0) : RegDeleteKeyW(parent, name.c_str());
}

} // namespace keyreap
