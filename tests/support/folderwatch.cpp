#include "tests/support/folderwatch.h"

#include "tests/support/temporaryfolder.h"

#include <gtest/gtest.h>

namespace keyreap::testsupport {

namespace {

// The watch makes this file itself: when it is reported, everything that was made before has been reported.
constexpr wchar_t markerName[] = L"watched so far";

} // namespace

FolderWatch::FolderWatch(const std::wstring& folder)
    : folder(folder),
      directory(CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY,
                            FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                            FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr)),
      changed(CreateEventW(nullptr, TRUE, FALSE, nullptr)) {
    EXPECT_TRUE(directory.Valid());
    Listen();
}

void FolderWatch::Listen() {
    ResetEvent(changed.Get());
    overlapped = {};
    overlapped.hEvent = changed.Get();
    EXPECT_TRUE(ReadDirectoryChangesW(directory.Get(), buffer.data(), static_cast<DWORD>(buffer.size()),
                                      FALSE, FILE_NOTIFY_CHANGE_FILE_NAME, nullptr, &overlapped, nullptr));
}

std::vector<std::wstring> FolderWatch::NextNames() {
    DWORD size = 0;
    EXPECT_TRUE(GetOverlappedResult(directory.Get(), &overlapped, &size, TRUE));
    std::vector<std::wstring> names;
    for (std::size_t place = 0; size != 0;) {
        const auto* entry = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(buffer.data() + place);
        if (entry->Action == FILE_ACTION_ADDED) {
            names.emplace_back(entry->FileName, entry->FileNameLength / sizeof(wchar_t));
        }
        if (entry->NextEntryOffset == 0) {
            break;
        }
        place += entry->NextEntryOffset;
    }
    Listen();
    return names;
}

std::vector<std::wstring> FolderWatch::NamesMade() {
    const std::wstring marker = folder + L'\\' + markerName;
    WriteBytes(marker, {});
    std::vector<std::wstring> made;
    for (bool reached = false; !reached;) {
        for (std::wstring& name : NextNames()) {
            reached = reached || name == markerName;
            if (!reached) {
                made.push_back(std::move(name));
            }
        }
    }
    DeleteFileW(marker.c_str());
    return made;
}

} // namespace keyreap::testsupport
