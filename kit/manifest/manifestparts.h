#pragma once

#include "kit/manifest/commanifest.h"
#include "kit/manifest/objectentries.h"

#include <cstddef>
#include <map>
#include <optional>
#include <string>
#include <variant>

// What a manifest says of one object. Each function marks the entries that it says; all others stay for a
// note. If nothing can be said of the object, the result is the reason.
namespace keyreap {

// With the number of the server whose element it belongs to.
template <typename Part>
struct PartOfServer {
    std::size_t server = 0;
    Part part;
};

using LibraryPart = PartOfServer<ManifestLibrary>;
using ClassPart = PartOfServer<ManifestClass>;

// By the folded GUID.
using LibraryParts = std::map<std::wstring, LibraryPart>;

// A manifest can have one version of a library, so it is the newest one in a server.
std::variant<LibraryPart, std::wstring> LibraryPartOf(ObjectEntries& object, int bitness);

// Without its ProgIDs.
std::variant<ClassPart, std::wstring> ClassPartOf(ObjectEntries& object, const LibraryParts& libraries);

std::variant<ManifestProxy, std::wstring> ProxyOf(ObjectEntries& object, const LibraryParts& libraries);

// The server whose path is the whole text; none for all other values.
std::optional<std::size_t> ServerIn(const InstallValue* value);

// Why an entry of an object in the manifest isn't said.
std::wstring ReasonAgainstEntry(ObjectKind kind, const ObjectEntries::Entry& entry);

} // namespace keyreap
