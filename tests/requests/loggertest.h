#pragma once

#include "hostlogger/requestlogger.h"
#include "tests/requests/recordedlog.h"
#include "tests/support/scratchkey.h"
#include "tests/support/temporaryfolder.h"

#include <windows.h>

#include <gtest/gtest.h>

#include <string>

namespace keyreap {

// HKEY_CURRENT_USER in a Wine prefix, with a backslash at the end.
inline const std::wstring currentUser = L"\\REGISTRY\\User\\S-1-5-21-0-0-0-1000\\";

// A logger with a session of its own name, and a folder for its logs.
class LoggerTest : public testing::Test {
protected:
    static constexpr wchar_t sessionName[] = L"Keyreap test logger";

    LoggerSession Session(const std::wstring& name = sessionName) const;
    std::wstring LogFile() const { return folder.File(L"a.etl"); }

    void Start() { ASSERT_EQ(logger.Start(Session()), ERROR_SUCCESS); }
    // Stops the session and reads its log.
    RecordedLog Stop();

    testsupport::TemporaryFolder folder;
    RequestLogger logger;
};

void SetOne(HKEY key, const wchar_t* name);

} // namespace keyreap
