#include "extract/nativefileregister/temporarypaths.h"

#include "platform/os/file/removal.h"
#include "platform/os/ownedhandle.h"
#include "platform/os/quietly.h"

namespace keyreap {

namespace {

void DeleteMatches(const WidePath& pattern) {
    WIN32_FIND_DATAW entry;
    const OwnedFindHandle search(FindFirstFileW(pattern.ExtendedLengthForm().c_str(), &entry));
    if (!search.Valid()) {
        return;
    }
    do {
        if ((entry.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) == 0) {
            WidePath match = pattern.Parent();
            match.Append(entry.cFileName);
            DeleteFileW(match.ExtendedLengthForm().c_str());
        }
    } while (FindNextFileW(search.Get(), &entry));
}

void RemoveFiles(const WidePath& path) {
    if (path.Text().find(L'*') == std::wstring::npos) {
        DeleteFileW(path.ExtendedLengthForm().c_str());
    } else {
        DeleteMatches(path);
    }
}

} // namespace

TemporaryPaths::~TemporaryPaths() {
    for (const WidePath& path : files) {
        Quietly([&] { RemoveFiles(path); });
    }
    files.clear();
    // Last to first, so that a nested directory goes before its parent.
    for (auto path = directories.rbegin(); path != directories.rend(); ++path) {
        Quietly([&] { RemoveDirectoryW(path->ExtendedLengthForm().c_str()); });
    }
    directories.clear();
    for (const WidePath& path : trees) {
        Quietly([&] {
            RemoveTree(path.Text());
            RemoveDirectoryLong(path.Text());
        });
    }
    trees.clear();
}

} // namespace keyreap
