#include "kit/checkfile.h"
#include "kit/hostfiles.h"
#include "kit/lint/lintrules.h"
#include "kit/show/showpage.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"
#include "platform/core/text/utf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <memory>
#include <set>
#include <span>

namespace keyreap {

namespace {

struct ShowWords {
    std::vector<std::string> captures;
    std::string output;
};

// The files' names, or the words themselves if two files have the same name.
std::vector<std::wstring> NamesOf(const std::vector<std::string>& words) {
    std::vector<std::wstring> names;
    std::set<std::string> distinct;
    for (const std::string& word : words) {
        const std::string name = FileNameOf(word);
        distinct.insert(name);
        names.push_back(UnitsOfUtf8(name).value_or(L"?"));
    }
    for (std::size_t i = 0; i < words.size() && distinct.size() < words.size(); ++i) {
        names[i] = UnitsOfUtf8(words[i]).value_or(L"?");
    }
    return names;
}

PageFinding PageFindingOf(const RuleFinding& found, std::size_t capture) {
    const EntryPlace& place = found.finding.place;
    PageFinding finding;
    finding.capture = capture;
    finding.rule = std::wstring(found.rule->number.begin(), found.rule->number.end());
    finding.key = place.key;
    finding.value = place.isKey || place.key.empty() ? std::nullopt : std::optional(place.value);
    finding.sentence = found.finding.sentence;
    return finding;
}

// What `keykit lint` says of each capture alone: they may be versions, and what one refers to isn't
// registered by the other.
std::vector<PageFinding> FindingsOf(std::span<const Capture> captures) {
    std::vector<PageFinding> findings;
    for (std::size_t i = 0; i < captures.size(); ++i) {
        for (const RuleFinding& found : FindingsIn(LintInput(captures.subspan(i, 1), {}, nullptr))) {
            findings.push_back(PageFindingOf(found, i));
        }
    }
    return findings;
}

// What a check has written beside a capture.
void AddCheckFindings(std::vector<PageFinding>& findings, const std::string& name,
                      std::span<const std::uint8_t> bytes, std::size_t capture) {
    for (WrittenFinding& found : ReadCheckFindings(name, bytes)) {
        findings.push_back({capture, std::move(found.rule), std::move(found.key), std::move(found.value),
                            std::move(found.sentence)});
    }
}

int Show(const ShowWords& words) {
    std::vector<Capture> captures;
    std::vector<PageFinding> checked;
    for (const std::string& name : words.captures) {
        const std::vector<std::uint8_t> bytes = ReadCaptureBytes(name);
        AddCheckFindings(checked, name, bytes, captures.size());
        captures.push_back(CaptureOf(name, bytes));
    }
    std::vector<PageFinding> findings = FindingsOf(captures);
    findings.insert(findings.end(), checked.begin(), checked.end());
    const std::vector<std::wstring> names = NamesOf(words.captures);
    std::vector<PageCapture> shown;
    for (std::size_t i = 0; i < captures.size(); ++i) {
        shown.push_back({names[i], std::move(captures[i].document)});
    }
    WriteResult(words.output, ShowPage(shown, findings));
    return statusWhole;
}

} // namespace

void AddShow(CLI::App& app, int& status) {
    const auto words = std::make_shared<ShowWords>();
    CLI::App* const verb =
        app.add_subcommand("show", "Makes a page to look at captures, and to compare them.");
    verb->add_option("CAPTURE", words->captures, "The .reg files")->required();
    verb->add_option("-o,--output", words->output, "The file to write, in the place of standard output");
    verb->callback([words, &status] { status = StatusOf([&words] { return Show(*words); }); });
}

} // namespace keyreap
