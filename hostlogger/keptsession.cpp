#include "hostlogger/keptsession.h"

#include "hostlogger/systemfolder.h"
#include "platform/os/ownedhandle.h"

#include <windows.h>

#include <algorithm>

namespace keyreap {

namespace {

constexpr DWORD longestText = 256 * 1024; // bytes; paths have up to 64 KB

bool IsPlain(wchar_t unit) {
    return (unit >= L'0' && unit <= L'9') || (unit >= L'A' && unit <= L'Z') ||
           (unit >= L'a' && unit <= L'z') || unit == L' ';
}

std::wstring FileOf(std::wstring sessionName) {
    std::ranges::replace_if(
        sessionName, [](wchar_t unit) { return !IsPlain(unit); }, L'_');
    return SystemFolder() + L"\\keyreap-session " + sessionName + L".txt";
}

OwnedFile Open(const std::wstring& file, DWORD access, DWORD disposition) {
    return OwnedFile(CreateFileW(file.c_str(), access, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, disposition, FILE_ATTRIBUTE_NORMAL, nullptr));
}

} // namespace

KeptSession::KeptSession(const std::wstring& sessionName) : file(FileOf(sessionName)) {}

std::uint32_t KeptSession::Create() const {
    if (Open(file, GENERIC_WRITE, CREATE_NEW).Valid()) {
        return ERROR_SUCCESS;
    }
    const DWORD status = GetLastError();
    return status == ERROR_FILE_EXISTS ? DWORD{ERROR_ALREADY_EXISTS} : status;
}

bool KeptSession::Store(const StartedSession& started) const {
    const std::wstring text = TextOf(started);
    const auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    const OwnedFile opened = Open(file, GENERIC_WRITE, OPEN_EXISTING);
    DWORD written = 0;
    return opened.Valid() && WriteFile(opened.Get(), text.data(), size, &written, nullptr) && written == size;
}

std::optional<StartedSession> KeptSession::Load() const {
    const OwnedFile opened = Open(file, GENERIC_READ, OPEN_EXISTING);
    std::wstring text(longestText / sizeof(wchar_t), L'\0');
    DWORD read = 0;
    if (!opened.Valid() || !ReadFile(opened.Get(), text.data(), longestText, &read, nullptr)) {
        return {};
    }
    text.resize(read / sizeof(wchar_t));
    return ParseStartedSession(text);
}

bool KeptSession::End() const {
    return DeleteFileW(file.c_str()) != FALSE;
}

} // namespace keyreap
