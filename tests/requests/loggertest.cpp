#include "tests/requests/loggertest.h"

namespace keyreap {

LoggerSession LoggerTest::Session(const std::wstring& name) const {
    LoggerSession session;
    session.name = name;
    session.logFile = LogFile();
    return session;
}

RecordedLog LoggerTest::Stop() {
    EXPECT_EQ(logger.Stop(), ERROR_SUCCESS);
    return RecordedLog(LogFile());
}

void SetOne(HKEY key, const wchar_t* name) {
    const DWORD data = 1;
    EXPECT_EQ(RegSetValueExW(key, name, 0, REG_DWORD, reinterpret_cast<const BYTE*>(&data), sizeof(data)),
              ERROR_SUCCESS);
}

} // namespace keyreap
