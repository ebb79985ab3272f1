#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <vector>

// What a registration-free COM manifest says. GUIDs are in braces; an empty text means that the attribute is
// left out.
namespace keyreap {

// The attributes miscStatus, miscStatusContent, miscStatusThumbnail, miscStatusIcon and miscStatusDocPrint.
inline constexpr std::size_t miscStatusCount = 5;

struct ManifestClass {
    std::wstring clsid;
    std::wstring description;
    std::wstring threadingModel; // empty: the main thread's
    std::wstring tlbid;
    std::vector<std::wstring> progIds; // the first one is the class's own
    std::array<std::wstring, miscStatusCount> miscStatus;
};

struct ManifestLibrary {
    std::wstring tlbid;
    std::wstring version; // two decimal numbers
    std::wstring helpDir; // below the file's folder
    std::wstring flags;
    std::optional<std::uint16_t> resourceId; // none: the file's first library
};

// An interface and the class of its proxies.
struct ManifestProxy {
    std::wstring iid;
    std::wstring name;
    std::wstring tlbid;
    std::wstring baseInterface;
    std::wstring numMethods;
    std::wstring proxyStubClsid;
};

struct ManifestFile {
    std::wstring name;
    std::vector<ManifestClass> classes;
    std::vector<ManifestLibrary> libraries;
};

struct ComManifest {
    std::wstring assemblyName;
    int bitness = 64;
    std::vector<ManifestFile> files;
    std::vector<ManifestProxy> proxies;
};

} // namespace keyreap
