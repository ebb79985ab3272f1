#pragma once

#include "kit/capture/capture.h"
#include "kit/capture/piecetext.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

// Registry entries as an installer carries them, whichever installer it is: each in a hive of the target
// machine, with the target's files and folders in the place of the build machine's paths.
namespace keyreap {

// An entry that isn't carried, or a path that is carried as it was captured.
struct EmitNote {
    EntryPlace place;
    std::wstring reason;
};

struct InstallValue {
    PieceText name;
    std::uint32_t type = 0;
    PieceText text;                 // of REG_SZ and REG_EXPAND_SZ
    std::vector<PieceText> list;    // of REG_MULTI_SZ
    std::uint32_t number = 0;       // of REG_DWORD
    std::vector<std::uint8_t> data; // of all types, as captured
    EntryPlace place;
};

enum class InstallRoot { LocalMachine, CurrentUser, Users, CurrentConfig };

struct InstallKey {
    InstallRoot root = InstallRoot::LocalMachine;
    std::wstring path;
    std::vector<InstallValue> values;
    // Without values, a key is in the list only if no other one creates it. It is the server's with
    // everything in it if it is below a key of a class or the like in which the server set a value.
    bool isOwn = false;
    EntryPlace place;
};

// Keys that are installed and removed together.
struct InstallComponent {
    std::size_t server = 0;
    bool isKept = false;    // stays when the product is removed, since others need it
    bool isPerUser = false; // of a user, in a product for the whole machine
    std::wstring id;
    std::wstring guid; // upper-case, without braces
    std::vector<InstallKey> keys;
};

struct InstallServer {
    std::wstring fileName;
    std::wstring id; // the file's name as an identifier
    std::wstring capturedPath;
    std::vector<std::uint16_t> typeLibraries;
};

enum class InstallScope { Machine, User };

struct InstallData {
    std::wstring product; // as InstallComponent::guid
    InstallScope scope = InstallScope::Machine;
    int bitness = 64;
    std::wstring directory; // the name of the folder that gets the servers
    std::wstring name;      // of everything together, an identifier
    std::vector<InstallServer> servers;
    std::vector<InstallComponent> components;
};

// Adds a note for each value of a key that isn't carried, or for the key if it has none.
void AddNotes(std::vector<EmitNote>& notes, const InstallKey& key, const std::wstring& reason);

} // namespace keyreap
