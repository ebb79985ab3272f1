#pragma once

#include "tests/support/scriptedtracing.h"
#include "tests/support/temporaryfolder.h"
#include "tests/support/tracebuilder.h"
#include "tests/unit/replay/livekey.h"
#include "trace/replay/tracereplay.h"

#include <gtest/gtest.h>

#include <string>
#include <string_view>

namespace keyreap {

inline std::wstring Machine(const std::wstring& path) {
    return L"\\REGISTRY\\MACHINE\\" + path;
}
inline std::wstring User(const std::wstring& path) {
    return L"\\REGISTRY\\USER\\S-1-5-21-0-0-0-1000\\" + path;
}
inline std::wstring Classes(const std::wstring& path) {
    return Machine(L"SOFTWARE\\Classes\\" + path);
}

// The bytes of a .reg file with these lines after its header line.
inline std::string RegFileBytes(const std::wstring& linesAfterHeader) {
    std::string bytes = "\xFF\xFE";
    for (const wchar_t unit : L"Windows Registry Editor Version 5.00\r\n" + linesAfterHeader) {
        bytes += static_cast<char>(unit & 0xFF);
        bytes += static_cast<char>(unit >> 8);
    }
    return bytes;
}

// The data of a value that could not be read back.
inline std::wstring Fillers() {
    return std::wstring(10, L'\x5555');
}

// A trace of this process and the result of its replay. A test also makes the traced changes in the real
// registry, in its own keys.
class ReplayTraceTest : public testing::Test {
protected:
    ReplayTraceTest() {
        request.traceFilePath = L"C:\\trace.etl";
        request.regFilePath = folder.File(L"out.reg");
        request.temporaryPrefix = tree.Path() + L"\\";
        request.formPathPairs = [] { return PathPairs(); };
        trace.ByProcess(GetCurrentProcessId());
    }

    // Operations on a key with a complete name, or on a handle that is named before.
    void Created(const std::wstring& path, std::uint32_t status = 0) { trace.CreateKey(0, path, status); }
    void Opened(const std::wstring& path) { trace.OpenKey(0, path); }
    void Deleted(const std::wstring& path) { trace.DeleteKey(Named(path)); }
    void Set(const std::wstring& path, const std::wstring& name, std::uint32_t status = 0) {
        trace.SetValue(Named(path), name, status);
    }
    void ValueDeleted(const std::wstring& path, const std::wstring& name) {
        trace.DeleteValue(Named(path), name);
    }
    void Queried(const std::wstring& path, const std::wstring& name) { trace.QueryValue(Named(path), name); }

    std::uint64_t Named(const std::wstring& path) {
        trace.KeyHandleNamed(++lastHandle, path);
        return lastHandle;
    }

    // A key of the test below HKEY_CURRENT_USER, as the kernel names it.
    std::wstring OwnKey(const std::wstring& subkey = {}) const { return User(user.Path(subkey)); }

    // Sets a text of such a key, in the registry and in the trace.
    void SetText(const std::wstring& subkey, const std::wstring& name, std::wstring_view text) {
        user.SetText(subkey, name, text);
        Set(OwnKey(subkey), name);
    }

    // Replays the trace and expects a file with these lines after its header line, byte by byte.
    void ReplayWrites(const std::wstring& linesAfterHeader) {
        tracing.log = trace.Events();
        EXPECT_TRUE(ReplayTrace(tracing, request));
        EXPECT_EQ(testsupport::FileBytes(request.regFilePath), RegFileBytes(linesAfterHeader))
            << testing::PrintToString(
                   testsupport::Utf16Document(testsupport::FileBytes(request.regFilePath)));
    }

    testsupport::TemporaryFolder folder;
    LiveKey user{HKEY_CURRENT_USER, L"Software\\KeyreapReplay"};
    LiveKey machine{HKEY_LOCAL_MACHINE, L"Software\\KeyreapReplay"};
    LiveKey classes{HKEY_CLASSES_ROOT, L"KeyreapReplay.Class"};
    LiveKey tree{HKEY_CURRENT_USER, L"Software\\KeyreapReplayTemporary"};
    ScriptedTracing tracing;
    TraceBuilder trace;
    ReplayRequest request;
    std::uint64_t lastHandle = 0xFFFFF8A000001000;
};

} // namespace keyreap
