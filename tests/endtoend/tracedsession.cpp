#include "tests/endtoend/tracedsession.h"

#include "tests/endtoend/harness/registry.h"
#include "tests/endtoend/harness/stricthost.h"

namespace keyreap::endtoend {

// Wine changes the registry when the first programs of a session start. That must not count in the tests.
void TracedSession::SetUpTestSuite() {
    for (const Route& route : routes) {
        RunLine(Quoted(Keyreap(route.program)) + L" extreg " +
                Pair(Sample(route.target, L"windowed.exe"), L"NUL"));
    }
}

// Only a first run leaves its temporary tree. With this key no run is a first one.
TracedSession::TracedSession() {
    CreateKey(HKEY_CURRENT_USER, productKey);
    if (HostIsStrict()) {
        // A trace of a program removes what Wine made when it started, and the next start makes it again.
        for (const Bitness bitness : bothBuilds) {
            RunLine(Quoted(Sample(bitness, L"windowed.exe")));
        }
    }
}

TracedSession::~TracedSession() {
    for (const wchar_t* classes : {L"Software\\Classes\\", L"Software\\Classes\\Wow6432Node\\"}) {
        DeleteTree(HKEY_LOCAL_MACHINE, std::wstring(classes) + calculatorInterface);
    }
}

std::string TracedSession::OwnGolden(const std::string& sample) const {
    return sample + (Is32Bit() ? "-x86.reg" : "-x64.reg");
}

DWORD TracedSession::Trace(const std::wstring& name, const wchar_t* mode) const {
    return RunKeyreap(GetParam().program, L"extreg " + Pair(Target(name), Work(L"out.reg")) + L" " + mode);
}

void TracedSession::ExpectCapture(const std::wstring& name, const wchar_t* mode, const Bytes& result,
                                  const Lines& changes) const {
    const SavedRegistry before;
    EXPECT_EQ(Trace(name, mode), 0U) << name << ' ' << mode;
    EXPECT_TRUE(Holds(Work(L"out.reg"), result)) << name << ' ' << mode;
    EXPECT_TRUE(before.Changed(changes)) << name << ' ' << mode;
}

Lines TracedSession::InterfaceOfTheOtherView() const {
    const std::wstring view = Is32Bit() ? L"" : L"Wow6432Node\\";
    const std::wstring key = L"+ HKLM\\Software\\Classes\\" + view + calculatorInterface;
    return {key, key + L"\\ProxyStubClsid", key + L"\\ProxyStubClsid32", key + L"\\TypeLib"};
}

} // namespace keyreap::endtoend
