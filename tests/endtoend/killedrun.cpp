#include "tests/endtoend/killedrun.h"

#include "tests/endtoend/harness/stricthost.h"

namespace keyreap::endtoend {

namespace {

constexpr const wchar_t* ownKeys[] = {L"Software\\KeyreapStopping", L"Software\\Wow6432Node\\KeyreapStopping",
                                      L"Software\\KeyreapMany"};
constexpr wchar_t ownClass[] = L"Keyreap.Stopping";

} // namespace

KilledRun::KilledRun() : stops(Work(L"stops")) {
    ForgetEverything();
}

KilledRun::~KilledRun() {
    ForgetEverything();
}

std::wstring KilledRun::Line(const Way& way, const std::wstring& sample, const std::wstring& regFile) const {
    return LineOf(way, Sample(way.build, sample), Work(regFile));
}

DWORD KilledRun::CaptureOf(const Way& way, const std::wstring& sample, const std::wstring& regFile) const {
    return RunLine(Line(way, sample, regFile));
}

void KilledRun::ForgetEverything() const {
    StopLeftLogger();
    stops.Reset();
    ForgetEarlierRuns();
    for (const HKEY root : {HKEY_CURRENT_USER, HKEY_LOCAL_MACHINE}) {
        for (const wchar_t* key : ownKeys) {
            DeleteTree(root, key);
        }
    }
    DeleteTree(HKEY_CLASSES_ROOT, ownClass);
    for (const std::wstring& file : TemporaryFiles()) {
        DeleteFileW((TemporaryFolder() + L"\\" + file).c_str());
    }
}

RegistryTree KilledRun::LiveEntries() {
    RegistryTree entries;
    const auto add = [&](HKEY root, const std::wstring& path, const std::wstring& name) {
        for (auto& [key, values] : ReadTree(root, path)) {
            entries[name + L"\\" + path + L"\\" + key] = values;
        }
    };
    for (const wchar_t* key : ownKeys) {
        add(HKEY_CURRENT_USER, key, L"HKCU");
        add(HKEY_LOCAL_MACHINE, key, L"HKLM");
    }
    add(HKEY_CLASSES_ROOT, ownClass, L"HKCR");
    return entries;
}

void KilledRun::ExpectNextRunToSucceed(const Way& way) const {
    if (LoggerIsLeftRunning()) {
        const bool leavesTheRoots = way.IsTraced() && !way.IsRedirected();
        ExpectNextRun(way, leavesTheRoots ? Document(UntouchedRoots()) : Golden("plain.reg"));
        StopLeftLogger();
        DeleteTree(HKEY_CLASSES_ROOT, L"Keyreap.Plain");
    }
    ExpectNextRun(way, DocumentOfPlain(way));
}

void KilledRun::ExpectNextRun(const Way& way, const Bytes& expected) const {
    const RegistryTree live = LiveEntries();
    const Lines files = TemporaryFiles();
    const bool isFirst = !KeyExists(HKEY_CURRENT_USER, productKey);
    EXPECT_EQ(CaptureOf(way, L"plain.dll", L"next.reg"), 0U);
    EXPECT_TRUE(Holds(Work(L"next.reg"), expected));
    EXPECT_EQ(KeyExists(HKEY_CURRENT_USER, temporaryKey), isFirst);
    EXPECT_EQ(LiveEntries(), live);
    EXPECT_EQ(TemporaryFiles(), files);
}

} // namespace keyreap::endtoend
