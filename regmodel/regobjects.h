#pragma once

#include "regmodel/regplace.h"
#include "regmodel/regtree.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <variant>
#include <vector>

// What registry entries make up. A text is empty if the registry doesn't have it. GUIDs are in the file's
// spelling.
namespace keyreap {

// A key of a class that says how its objects are made, such as InprocServer32 or LocalServer32.
struct ServerFacts {
    std::wstring kind; // the key's name
    std::wstring path; // a file or a command line
    std::wstring threadingModel;
};

struct ClassFacts {
    std::wstring name;
    std::vector<ServerFacts> servers;
    std::wstring progId;
    std::wstring versionIndependentProgId;
    std::wstring typeLib;
    std::wstring version;
    std::wstring appId;
    std::wstring treatAs;
    std::vector<std::wstring> implementedCategories;
    std::vector<std::wstring> requiredCategories;
    std::wstring miscStatus;
    std::vector<std::pair<std::wstring, std::wstring>> miscStatusOfAspects; // aspect and status
    std::vector<std::wstring> marks; // Control, Insertable and Programmable, where they are keys
};

struct InterfaceFacts {
    std::wstring name;
    std::wstring proxyStubClsid32;
    std::wstring typeLib;
    std::wstring typeLibVersion;
    std::wstring numMethods;
    std::wstring baseInterface;
};

struct TypeLibFile {
    std::wstring language; // the LCID's key
    std::wstring platform; // win32, win64, ...
    std::wstring path;
};

struct TypeLibVersion {
    std::wstring version; // the key's name: major and minor number in hexadecimal digits
    std::wstring name;
    std::wstring flags;
    std::wstring helpDir;
    std::vector<TypeLibFile> files;
};

struct TypeLibFacts {
    std::vector<TypeLibVersion> versions;
};

struct ProgIdFacts {
    std::wstring name;
    std::wstring clsid;
    std::wstring currentVersion;
    std::vector<std::pair<std::wstring, std::wstring>> verbs; // of shell: name and command
};

// Of a GUID, or of a program's name, whose value AppID then has the GUID.
struct AppIdFacts {
    std::wstring name;
    std::wstring appId;
    std::wstring localService;
    std::wstring runAs;
    std::optional<std::wstring> dllSurrogate; // may be empty, which means the system's
};

struct CategoryFacts {
    std::vector<std::pair<std::wstring, std::wstring>> descriptions; // LCID and text
};

struct ExtensionFacts {
    std::wstring progId;
    std::wstring contentType;
    std::wstring perceivedType;
    std::wstring persistentHandler;
};

struct ShellExtensionFacts {
    std::wstring target;  // what it extends: an extension, a ProgID, *; empty for all
    std::wstring handler; // ContextMenuHandlers, IconHandler, an interface, Approved, ...
    std::wstring name;
    std::wstring clsid;
};

struct ServiceFacts {
    std::wstring displayName;
    std::wstring imagePath;
    std::wstring serviceDll;
    std::wstring account;
    std::optional<std::uint32_t> type;
    std::optional<std::uint32_t> start;
};

// In the order of ObjectKind.
using ObjectFacts = std::variant<ClassFacts, InterfaceFacts, TypeLibFacts, ProgIdFacts, AppIdFacts,
                                 CategoryFacts, ExtensionFacts, ShellExtensionFacts, ServiceFacts>;

enum class ObjectKind {
    Class,
    Interface,
    TypeLib,
    ProgId,
    AppId,
    Category,
    Extension,
    ShellExtension,
    Service
};

// Two objects of the same name in different hives or views are different objects.
struct ObjectIdentity {
    ObjectKind kind = ObjectKind::Class;
    RegScope scope;
    std::wstring id; // folded: a GUID, a name, or several names with backslashes between them

    friend auto operator<=>(const ObjectIdentity&, const ObjectIdentity&) = default;
};

struct RegObject {
    ObjectIdentity identity;
    std::wstring id; // in the file's spelling
    ObjectFacts facts;
    std::vector<std::size_t> sections;
    std::vector<RegEntryRef> entries;
};

} // namespace keyreap
