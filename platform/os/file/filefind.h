#pragma once

#include "platform/os/ownedhandle.h"

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// A search through one directory.
class FileFind {
public:
    // Starts a search, for "*.*" with a null pattern. False if nothing matches, and with ERROR_INVALID_NAME
    // as the last error if the pattern has no directory.
    bool FindFile(const wchar_t* pattern);

    // Goes to the next entry; false after the last one.
    bool FindNext();

    // The full path of the found entry; one of 260 characters or more has the extended-length prefix.
    std::wstring GetFilePath() const;

    // The found entry as the system gave it.
    const WIN32_FIND_DATAW& Entry() const { return entry; }

    // True if the last step found something.
    bool HasFound() const { return found; }

    void Close();

private:
    WIN32_FIND_DATAW entry{};
    wchar_t separator = L'\\';
    OwnedFindHandle handle;
    bool found = false;
    std::wstring root;
};

// The directory of a full path: the part before its last backslash or forward slash; none without either.
std::optional<std::wstring> SearchRoot(std::wstring_view fullPath);

} // namespace keyreap
