#include "kit/capture/messageline.h"
#include "kit/check/checkrules.h"
#include "kit/checkfile.h"
#include "kit/checksessions.h"
#include "kit/hostfiles.h"
#include "kit/liveoutput.h"
#include "kit/refusal.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"
#include "pe/imageheaders.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/utf8.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iterator>
#include <memory>
#include <span>

namespace keyreap {

namespace {

struct CheckWords {
    std::string server;
    std::string capture;
    std::vector<std::string> parts;
    std::vector<std::string> without;
    bool isJson = false;
    bool isLive = false;
};

std::vector<std::string> NamesOfParts() {
    std::vector<std::string> names;
    for (const CheckPartName& part : checkPartNames) {
        names.emplace_back(part.name);
    }
    return names;
}

// Those that capture, or look at the capture alone.
bool LeavesRegistryAlone(CheckPart part) {
    return part == CheckPart::Noise || part == CheckPart::Same || part == CheckPart::Fillers;
}

// Why a part of this server's check is left out; empty if it isn't.
std::string ReasonAgainst(CheckPart part, const CheckedServer& server, bool isLive) {
    if (!isLive && !SessionsAreThrownAway() && !LeavesRegistryAlone(part)) {
        return "it registers the server on this machine itself, which needs --live";
    }
    if (part == CheckPart::Result && !server.hasExport) {
        return "only DllRegisterServer has a result";
    }
    if ((part == CheckPart::Noise || part == CheckPart::Same) && server.isProgram) {
        return "a program's own process can't be redirected";
    }
    return {};
}

// Those that are named, or all without a word, as far as they are possible here. The others have a line.
std::vector<CheckPart> PartsOf(const CheckWords& words, const CheckedServer& server) {
    std::vector<CheckPart> parts;
    for (const CheckPartName& part : checkPartNames) {
        const bool isWanted =
            words.parts.empty() || std::ranges::find(words.parts, part.name) != words.parts.end();
        const std::string reason = isWanted ? ReasonAgainst(part.part, server, words.isLive) : std::string();
        if (!reason.empty()) {
            Say(std::string(part.name) + " isn't checked: " + reason);
        } else if (isWanted) {
            parts.push_back(part.part);
        }
    }
    return parts;
}

CheckedServer ServerOf(const std::string& word) {
    const std::variant<ServerFile, std::string> read = ReadServer(word);
    if (const auto* const reason = std::get_if<std::string>(&read)) {
        throw Refusal(*reason);
    }
    const auto& file = std::get<ServerFile>(read);
    CheckedServer server;
    server.file = ServerFileName(word);
    server.path = file.server.capturedPath;
    // A type library is registered by the 32-bit program, too.
    server.bitness = file.bitness.value_or(32);
    const auto content = ReadWholeFile(server.file);
    const ImageHeaders headers(content ? std::as_bytes(std::span(*content)) : std::span<const std::byte>());
    server.hasExport = headers.Exports("DllRegisterServer");
    server.isProgram = headers.AreThere() && !server.hasExport && !headers.IsDll();
    // A library inside a DLL is the DLL's own affair, also for a capture.
    const bool hasOwnLibrary =
        FoldedText(file.server.fileName).ends_with(L".exe") && !file.server.typeLibraries.empty();
    server.hasTypeLib = !headers.AreThere() || hasOwnLibrary;
    if (!server.hasExport && !server.isProgram && !server.hasTypeLib) {
        throw Refusal(word + ": it has no DllRegisterServer, and is neither a program nor a type library");
    }
    return server;
}

std::string LineOf(const CheckReport& report, const CheckFinding& finding) {
    const EntryPlace place = {{}, 0, finding.key, !finding.value, finding.value.value_or(L"")};
    const std::wstring name = NameOfEntry(place);
    return InOneLine(report.capture + ": " + std::string(finding.rule) +
                     ReadableUtf8((name.empty() ? L"" : L' ' + name) + L": " + finding.sentence)) +
           '\n';
}

std::string LinesOf(const CheckReport& report) {
    std::string lines;
    for (const CheckFinding& finding : report.findings) {
        lines += LineOf(report, finding);
    }
    return lines;
}

CreatedCount CountOf(const std::vector<ClassFact>& classes) {
    const auto count = [&classes](std::optional<std::uint32_t> ClassFact::*result) {
        return static_cast<std::size_t>(std::ranges::count_if(
            classes, [result](const ClassFact& one) { return one.*result && !IsFailure(*(one.*result)); }));
    };
    return {classes.size(), count(&ClassFact::byCapture), count(&ClassFact::byRegistration)};
}

void CheckRuleNumbers(const std::vector<std::string>& numbers) {
    for (const std::string& number : numbers) {
        const auto isIt = [&number](const CheckRule& rule) { return rule.number == number; };
        if (std::ranges::none_of(CheckRules(), isIt)) {
            throw Refusal("--without: there is no rule " + number);
        }
    }
}

int Check(const CheckWords& words) {
    CheckRuleNumbers(words.without);
    const CheckedServer server = ServerOf(words.server);
    const std::vector<std::uint8_t> bytes = ReadCaptureBytes(words.capture);
    const Capture capture = CaptureOf(words.capture, bytes);
    CheckReport report;
    report.parts = PartsOf(words, server);
    const CheckFacts facts = FactsOf(server, capture, words.capture, report.parts);
    const CheckInput input(capture, facts);
    report.capture = FileNameOf(words.capture);
    report.server = FileNameOf(server.file);
    report.digest = DigestOf(bytes);
    report.findings = FindingsOf(input, report.parts, words.without);
    report.noise = input.noise;
    if (facts.hasCreated) {
        report.created = CountOf(facts.classes);
    }
    const std::string json = CheckJson(report);
    WriteResult(CheckFileName(words.capture), json);
    WriteResult({}, words.isJson ? json : LinesOf(report));
    return report.findings.empty() ? statusWhole : statusIncomplete;
}

// The rules, for the end of the help.
std::string ListOfRules() {
    std::string list = "Rules (docs/check.md):\n";
    for (const CheckRule& rule : CheckRules()) {
        list += "  " + std::string(rule.number) + "  " + std::string(rule.name) + "\n";
    }
    return list;
}

} // namespace

void AddCheck(CLI::App& app, int& status) {
    const auto words = std::make_shared<CheckWords>();
    CLI::App* const verb =
        app.add_subcommand("check", "Finds out whether a capture is what its server registers.");
    verb->footer(ListOfRules());
    verb->add_option("SERVER", words->server,
                     "FILE or FILE=CAPTURED PATH: the server, and where it was captured")
        ->required();
    verb->add_option("CAPTURE", words->capture, "The .reg file")->required();
    verb->add_option("--parts", words->parts, "What is checked, separated by commas; all without this word")
        ->delimiter(',')
        ->check(CLI::IsMember(NamesOfParts()));
    verb->add_option("--without", words->without, "The numbers of rules that are left out")->delimiter(',');
    verb->add_flag("--live", words->isLive,
                   "Where sessions can't be thrown away: register the server on this machine itself");
    verb->add_flag("--json", words->isJson, "Writes the report as JSON");
    verb->callback([words, &status] { status = StatusOf([&words] { return Check(*words); }); });
}

} // namespace keyreap
