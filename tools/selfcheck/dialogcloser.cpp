#include "tools/selfcheck/dialogcloser.h"

#include "platform/core/text/compare.h"
#include "platform/os/heldexception.h"
#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <iterator>
#include <set>
#include <string>
#include <utility>

namespace keyreap {

namespace {

constexpr DWORD interval = 200; // milliseconds

using TextOfWindow = int(WINAPI*)(HWND, wchar_t*, int);

std::wstring TextOf(HWND window, TextOfWindow get) {
    wchar_t text[64] = {};
    return std::wstring(text, static_cast<std::size_t>(get(window, text, static_cast<int>(std::size(text)))));
}

std::wstring ProgramOf(HWND window) {
    DWORD id = 0;
    GetWindowThreadProcessId(window, &id);
    const OwnedHandle process(OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION, FALSE, id));
    std::wstring path(32'768, L'\0');
    auto length = static_cast<DWORD>(path.size());
    const bool isKnown = QueryFullProcessImageNameW(process.Get(), 0, path.data(), &length);
    path.resize(isKnown ? length : 0);
    return path;
}

struct Search {
    std::wstring folder;
    std::set<HWND> found;
    HeldException failure;
};

BOOL CALLBACK Examine(HWND window, LPARAM argument) {
    auto& search = *reinterpret_cast<Search*>(argument);
    search.failure.Run([&] {
        // The class of all dialogs.
        if (TextOf(window, GetClassNameW) == L"#32770" && TextOf(window, GetWindowTextW) == L"Error" &&
            StartsWithFolded(ProgramOf(window), search.folder)) {
            search.found.insert(window);
        }
    });
    return TRUE;
}

std::set<HWND> CrashDialogs(const std::filesystem::path& folder) {
    Search search{folder.wstring() + L"\\", {}, {}};
    EnumWindows(Examine, reinterpret_cast<LPARAM>(&search));
    search.failure.ThrowOn();
    return search.found;
}

} // namespace

DialogCloser::DialogCloser(const std::filesystem::path& folder) : folder(folder), thread([this] { Run(); }) {}

DialogCloser::~DialogCloser() {
    isEnding = true;
    thread.join();
}

void DialogCloser::Run() {
    std::set<HWND> known;
    while (!isEnding) {
        std::set<HWND> open = CrashDialogs(folder);
        for (const HWND window : open) {
            PostMessageW(window, WM_COMMAND, IDCANCEL, 0);
            count += known.contains(window) ? 0 : 1;
        }
        known = std::move(open);
        Sleep(interval);
    }
}

} // namespace keyreap
