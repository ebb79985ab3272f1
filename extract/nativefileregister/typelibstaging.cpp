#include "extract/nativefileregister/typelibstaging.h"

#include "platform/os/file/temporaryfiles.h"
#include "platform/os/heldexception.h"
#include "platform/os/ownedhandle.h"

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace keyreap {

namespace {

constexpr wchar_t typeLibType[] = L"TYPELIB";
constexpr std::array<char, 4> typeLibMagic{'M', 'S', 'F', 'T'};

// One entry of a module's TYPELIB resources.
struct TypeLibResourceId {
    std::uint32_t id = 0; // 0 if the entry is named by a string
    std::wstring name;

    LPCWSTR Identifier() const { return id != 0 ? MAKEINTRESOURCEW(id) : name.c_str(); }
};

bool HasExeExtension(const WidePath& path) {
    const std::wstring& text = path.Text();
    const std::size_t dot = text.rfind(L'.');
    const std::size_t backslash = text.rfind(L'\\');
    if (dot == std::wstring::npos || (backslash != std::wstring::npos && backslash > dot)) {
        return false;
    }
    return lstrcmpiW(text.c_str() + dot + 1, L"exe") == 0;
}

struct FoundResources {
    std::vector<TypeLibResourceId> ids;
    HeldException failure;
};

BOOL CALLBACK AppendResourceId(HMODULE, LPCWSTR, LPWSTR name, LONG_PTR resources) {
    auto& found = *reinterpret_cast<FoundResources*>(resources);
    found.failure.Run([&] {
        TypeLibResourceId resource;
        if (IS_INTRESOURCE(name)) {
            resource.id = LOWORD(reinterpret_cast<ULONG_PTR>(name));
        } else {
            resource.name = name;
        }
        found.ids.push_back(std::move(resource));
    });
    return TRUE;
}

struct ResourceBytes {
    const void* data = nullptr;
    DWORD size = 0;
};

ResourceBytes FindTypeLibBytes(HMODULE module, const TypeLibResourceId& resource) {
    const HRSRC entry = FindResourceW(module, resource.Identifier(), typeLibType);
    const HGLOBAL block = entry ? LoadResource(module, entry) : nullptr;
    const void* data = block ? LockResource(block) : nullptr;
    return data ? ResourceBytes{data, SizeofResource(module, entry)} : ResourceBytes{};
}

bool WriteWholeFile(const WidePath& path, const ResourceBytes& bytes) {
    const OwnedFile file(CreateFileW(path.ExtendedLengthForm().c_str(), GENERIC_WRITE, 0, nullptr,
                                     CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    DWORD written = 0;
    return WriteFile(file.Get(), bytes.data, bytes.size, &written, nullptr) != FALSE;
}

WidePath StageResource(HMODULE module, const TypeLibResourceId& resource, TemporaryPaths& typeLibTemps) {
    const ResourceBytes bytes = FindTypeLibBytes(module, resource);
    if (!bytes.data) {
        return {};
    }
    const WidePath staged = CreateTempFileWithExtension(L"tlb", L"tlb");
    // Listed before it is written, so that a half-written file is removed too.
    typeLibTemps.files.push_back(staged);
    return WriteWholeFile(staged, bytes) ? staged : WidePath();
}

} // namespace

WidePath ExtractTypeLib(const WidePath& filePath, TemporaryPaths& typeLibTemps) {
    if (!HasExeExtension(filePath)) {
        return {};
    }
    const OwnedModule module(
        LoadLibraryExW(filePath.ExtendedLengthForm().c_str(), nullptr, LOAD_LIBRARY_AS_IMAGE_RESOURCE));
    if (!module.Valid()) {
        return {};
    }
    FoundResources found;
    EnumResourceNamesW(module.Get(), typeLibType, AppendResourceId, reinterpret_cast<LONG_PTR>(&found));
    found.failure.ThrowOn();
    // Only the first one enumerated is registered.
    return found.ids.empty() ? WidePath() : StageResource(module.Get(), found.ids.front(), typeLibTemps);
}

bool IsTypeLibFile(const WidePath& path) {
    // Deliberate: FILE_GENERIC_READ in the place of the attributes, because the file has always been opened
    // so.
    constexpr DWORD flagsAndAttributes = 0x120089;
    const OwnedFile file(CreateFileW(path.ExtendedLengthForm().c_str(), GENERIC_READ, 0, nullptr,
                                     OPEN_EXISTING, flagsAndAttributes, nullptr));
    if (!file.Valid()) {
        return false;
    }
    DWORD highSize = 0;
    const DWORD size = GetFileSize(file.Get(), &highSize);
    if ((size == INVALID_FILE_SIZE && GetLastError() != NO_ERROR) ||
        (highSize == 0 && size <= typeLibMagic.size())) {
        return false;
    }
    std::array<char, typeLibMagic.size() + 1> start{};
    DWORD read = 0;
    ReadFile(file.Get(), start.data(), static_cast<DWORD>(typeLibMagic.size()), &read, nullptr);
    return std::memcmp(start.data(), typeLibMagic.data(), typeLibMagic.size()) == 0;
}

} // namespace keyreap
