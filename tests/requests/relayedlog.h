#pragma once

#include "platform/os/ownedhandle.h"

#include <string>
#include <string_view>

namespace keyreap {

// A copy of the session's request log that a thread keeps up to date, line by line, until Leave.
class RelayedLog {
public:
    // Of the whole log, or of what is written from now on.
    enum class Part { all, fromNowOn };

    explicit RelayedLog(const std::wstring& copyPath, Part part = Part::all);
    RelayedLog(const RelayedLog&) = delete;
    RelayedLog& operator=(const RelayedLog&) = delete;
    ~RelayedLog();

    // Stops the copying.
    void Leave();
    // Adds the line to the copy that says that lines are missing.
    void LoseLines();

private:
    static DWORD WINAPI Run(void* self);
    void Relay();
    void CopyLines();
    void Write(std::string_view text);

    OwnedFile source;
    OwnedFile target;
    std::string begun; // a line whose end has not been read yet
    OwnedHandle end;
    OwnedHandle lose;
    OwnedHandle lost;
    OwnedHandle thread;
};

} // namespace keyreap
