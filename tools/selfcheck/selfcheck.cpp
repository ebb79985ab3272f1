// selfcheck [--every N]: tries this release on the machine where it is unpacked, and packs what a maintainer
// needs to know into results\keyreap-selfcheck.zip. With N only every N-th capture and suite. Exits with 0;
// with 1 if something differs from what is expected under Wine; with 2 if it can't run.
#include "platform/os/file/executablepath.h"
#include "platform/os/winehost.h"
#include "tools/selfcheck/captures.h"
#include "tools/selfcheck/comparison.h"
#include "tools/selfcheck/dialogcloser.h"
#include "tools/selfcheck/places.h"
#include "tools/selfcheck/recording.h"
#include "tools/selfcheck/storedzip.h"
#include "tools/selfcheck/suites.h"

#include <windows.h>

#include <shlobj.h>

#include <exception>
#include <fstream>
#include <iostream>
#include <optional>
#include <string>
#include <vector>

namespace keyreap {

namespace {

constexpr int statusDiffers = 1;
constexpr int statusUnable = 2;

Vocabulary VocabularyOf(const Places& places) {
    Vocabulary vocabulary;
    for (const auto& entry : std::filesystem::directory_iterator(places.golden)) {
        AddNamesOf(ContentOf(entry.path()), vocabulary);
    }
    return vocabulary;
}

// The version of the system, which versions in manifests don't affect.
std::string SystemText() {
    const auto version =
        FindEntryPoint<LONG(WINAPI*)(OSVERSIONINFOW*)>(GetModuleHandleW(L"ntdll.dll"), "RtlGetVersion");
    OSVERSIONINFOW found{};
    found.dwOSVersionInfoSize = sizeof(found);
    if (version != nullptr) {
        version(&found);
    }
    return "Windows " + std::to_string(found.dwMajorVersion) + "." + std::to_string(found.dwMinorVersion) +
           "." + std::to_string(found.dwBuildNumber) + (RunsOnWine() ? ", which is Wine" : "");
}

ReportPart SummaryOf(const std::vector<ReportPart>& parts, std::size_t dialogs) {
    ReportPart summary;
    summary.name = "summary.txt";
    summary.Add(SystemText());
    for (const ReportPart& part : parts) {
        summary.Add(part.name + ": " + std::to_string(part.tried) + " tried, " +
                    std::to_string(part.differing) + " differ from what is expected under Wine");
        summary.tried += part.tried;
        summary.differing += part.differing;
    }
    summary.Add("crash dialogs closed: " + std::to_string(dialogs));
    return summary;
}

bool Pack(const std::vector<ReportPart>& parts, const std::filesystem::path& file) {
    StoredZip zip;
    for (const ReportPart& part : parts) {
        zip.Add(part.name, part.Text());
    }
    std::ofstream stream(file, std::ios::binary);
    stream << zip.Bytes();
    stream.close();
    return stream.good();
}

int Check(std::size_t step) {
    const Places places(std::filesystem::path(GetExecutablePath().Text()).parent_path());
    std::filesystem::remove_all(places.results);
    std::filesystem::create_directories(places.logs);
    const Vocabulary vocabulary = VocabularyOf(places);
    std::vector<ReportPart> parts;
    const DialogCloser closer(places.folder.parent_path());
    std::cout << "Recording registry events for five seconds\n" << std::flush;
    parts.push_back(CheckRecording(places, vocabulary));
    std::cout << "Capturing the samples\n" << std::flush;
    parts.push_back(CheckCaptures(places, vocabulary, step));
    std::cout << "Running the suites of tests\n" << std::flush;
    parts.push_back(CheckSuites(places, step));
    const ReportPart summary = SummaryOf(parts, closer.Count());
    parts.insert(parts.begin(), summary);
    const std::filesystem::path packed = places.results / "keyreap-selfcheck.zip";
    if (!Pack(parts, packed)) {
        std::cerr << "The results could not be packed.\n";
        return statusUnable;
    }
    std::cout << summary.Text() << "Send back this file, which is readable text inside: results\\"
              << packed.filename().string() << '\n';
    return summary.differing == 0 ? 0 : statusDiffers;
}

// 1 without the option; none if the words are others.
std::optional<std::size_t> StepOf(const std::vector<std::wstring>& words) {
    if (words.empty()) {
        return 1;
    }
    const bool isOption = words.size() == 2 && words.front() == L"--every";
    const int step = isOption ? _wtoi(words.back().c_str()) : 0;
    return step > 0 ? std::optional<std::size_t>(static_cast<std::size_t>(step)) : std::nullopt;
}

int Run(const std::vector<std::wstring>& words) {
    const std::optional<std::size_t> step = StepOf(words);
    if (!step) {
        std::cerr << "usage: selfcheck [--every N]\n";
        return statusUnable;
    }
    if (!IsUserAnAdmin()) {
        std::cerr << "Start this from an administrator's prompt.\n";
        return statusUnable;
    }
    return Check(*step);
}

} // namespace

} // namespace keyreap

int wmain(int argc, wchar_t** argv) {
    try {
        return keyreap::Run({argv + 1, argv + argc});
    } catch (const std::exception& exception) {
        std::cerr << exception.what() << '\n';
        return keyreap::statusUnable;
    }
}
