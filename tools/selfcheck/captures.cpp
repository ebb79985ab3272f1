#include "tools/selfcheck/captures.h"

#include "tools/selfcheck/childprogram.h"
#include "tools/selfcheck/comparison.h"
#include "tools/selfcheck/suitelist.h"

#include <windows.h>

#include <iterator>
#include <optional>

namespace keyreap {

namespace {

constexpr const wchar_t* modes[] = {L"keyRedir", L"trace", L"both"};
constexpr DWORD longestCapture = 120'000;

// What the samples leave beside what their golden files have.
const std::set<std::wstring> furtherKeys = {
    L"HKEY_CURRENT_USER\\Software\\KeyreapLifetime", L"HKEY_LOCAL_MACHINE\\Software\\KeyreapChild",
    L"HKEY_CLASSES_ROOT\\Interface\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D10}"};

HKEY RootOf(std::wstring_view name) {
    if (name == L"HKEY_CLASSES_ROOT") {
        return HKEY_CLASSES_ROOT;
    }
    if (name == L"HKEY_LOCAL_MACHINE") {
        return HKEY_LOCAL_MACHINE;
    }
    return name == L"HKEY_USERS" ? HKEY_USERS : HKEY_CURRENT_USER;
}

void DeleteTree(HKEY root, const std::wstring& path, REGSAM view) {
    HKEY key = nullptr;
    if (RegOpenKeyExW(root, path.c_str(), 0, KEY_ALL_ACCESS | view, &key) == ERROR_SUCCESS) {
        RegDeleteTreeW(key, nullptr);
        RegCloseKey(key);
        RegDeleteKeyExW(root, path.c_str(), view, 0);
    }
}

// One capture of one sample.
struct Capture {
    std::string bitness;
    ListedCapture listed;
    std::size_t mode;

    const std::string& Golden() const { return listed.golden[mode]; }
    KeyOrder Order() const {
        return modes[mode] == std::wstring_view(L"both") ? KeyOrder::Free : KeyOrder::Fixed;
    }
    std::string Name() const { return bitness + " " + listed.file + " " + PlainAscii(modes[mode]); }
};

std::vector<Capture> AllCaptures(const Places& places) {
    std::vector<Capture> captures;
    const std::string list = ContentOf(places.folder / "captures.txt");
    for (const std::string_view bitness : bitnesses) {
        for (const ListedCapture& listed : ReadCaptures(list, bitness)) {
            for (std::size_t mode = 0; mode < std::size(modes); ++mode) {
                captures.push_back({std::string(bitness), listed, mode});
            }
        }
    }
    return captures;
}

class Checker {
public:
    Checker(const Places& places, const Vocabulary& vocabulary) : places(places), vocabulary(vocabulary) {
        part.name = "captures.txt";
    }

    void Check(const Capture& capture) {
        const std::filesystem::path sample = places.samples / capture.bitness / capture.listed.file;
        const std::string expected =
            capture.Golden().empty() ? std::string() : GoldenOf(places, capture.Golden(), sample);
        const std::filesystem::path regFile = places.logs / "capture.reg";
        std::filesystem::remove(regFile);
        const ChildEnd end =
            RunChild(LineOf(capture, sample, regFile), places.logs / "capture.txt", longestCapture);
        Report(capture, end, ContentOf(regFile), expected);
        for (const std::string& golden : capture.listed.golden) {
            DeleteOwnKeys(OwnKeysOf(GoldenOf(places, golden, sample)));
        }
        DeleteOwnKeys(furtherKeys);
    }
    const ReportPart& Part() const { return part; }

private:
    std::wstring LineOf(const Capture& capture, const std::filesystem::path& sample,
                        const std::filesystem::path& regFile) const {
        return Quoted(places.programs / capture.bitness / "Keyreap.exe") + L" extreg " + Quoted(sample) +
               L" " + Quoted(regFile) + L" " + modes[capture.mode];
    }

    void Report(const Capture& capture, const ChildEnd& end, const std::string& captured,
                const std::string& expected) {
        std::vector<std::string> differences;
        if (!capture.Golden().empty()) {
            differences = DifferencesOf(captured, expected, capture.Order(), vocabulary);
        }
        const bool isAsExpected = end.status == DWORD{0} && differences.empty();
        part.AddTried(isAsExpected, capture.Name() + ": " + EndText(end) +
                                        (capture.Golden().empty() ? ", nothing to compare with" : ""));
        part.AddIndented(differences);
    }

    const Places& places;
    const Vocabulary& vocabulary;
    ReportPart part;
};

} // namespace

void DeleteOwnKeys(const std::set<std::wstring>& paths) {
    for (const std::wstring& path : paths) {
        const std::size_t backslash = path.find(L'\\');
        if (backslash != std::wstring::npos) {
            const HKEY root = RootOf(path.substr(0, backslash));
            DeleteTree(root, path.substr(backslash + 1), KEY_WOW64_64KEY);
            DeleteTree(root, path.substr(backslash + 1), KEY_WOW64_32KEY);
        }
    }
}

ReportPart CheckCaptures(const Places& places, const Vocabulary& vocabulary, std::size_t step) {
    Checker checker(places, vocabulary);
    const std::vector<Capture> captures = AllCaptures(places);
    for (std::size_t i = 0; i < captures.size(); ++i) {
        if (IsInSample(i, step)) {
            checker.Check(captures[i]);
        }
    }
    return checker.Part();
}

} // namespace keyreap
