#include "kit/capture/messageline.h"
#include "kit/lint/lintrules.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"
#include "platform/core/text/utf8.h"

#include <CLI/CLI.hpp>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

namespace keyreap {

namespace {

struct LintWords {
    std::vector<std::string> captures;
    std::vector<std::string> servers;
    std::string against;
    bool isJson = false;
};

std::string LineOf(const RuleFinding& found) {
    const EntryPlace& place = found.finding.place;
    const std::wstring name = NameOfEntry(place);
    return InOneLine(ReadableUtf8(place.file) + ": " + std::string(found.rule->number) +
                     ReadableUtf8((name.empty() ? L"" : L' ' + name) + L": " + found.finding.sentence)) +
           '\n';
}

std::string LinesOf(const std::vector<RuleFinding>& findings) {
    std::string lines;
    std::ranges::for_each(findings, [&lines](const RuleFinding& found) { lines += LineOf(found); });
    return lines;
}

nlohmann::ordered_json JsonOf(const RuleFinding& found) {
    const EntryPlace& place = found.finding.place;
    nlohmann::ordered_json json = {
        {"file", ReadableUtf8(place.file)}, {"rule", found.rule->number}, {"name", found.rule->name}};
    if (!place.key.empty()) {
        json["key"] = ReadableUtf8(place.key);
        if (!place.isKey) {
            json["value"] = ReadableUtf8(place.value);
        }
    }
    json["sentence"] = ReadableUtf8(found.finding.sentence);
    return json;
}

std::string JsonOf(const std::vector<RuleFinding>& findings) {
    nlohmann::ordered_json list = nlohmann::ordered_json::array();
    std::ranges::for_each(findings, [&list](const RuleFinding& found) { list.push_back(JsonOf(found)); });
    return list.dump(2) + "\n";
}

int Lint(const LintWords& words) {
    const std::vector<Capture> captures = ReadCaptures(words.captures);
    std::vector<std::wstring> servers;
    for (const ServerFile& file : ReadServers(words.servers)) {
        servers.push_back(file.server.capturedPath);
    }
    std::vector<Capture> against;
    if (!words.against.empty()) {
        against.push_back(ReadCapture(words.against));
    }
    const LintInput input(captures, servers, against.empty() ? nullptr : &against.front());
    const std::vector<RuleFinding> findings = FindingsIn(input);
    WriteResult({}, words.isJson ? JsonOf(findings) : LinesOf(findings));
    return findings.empty() ? statusWhole : statusIncomplete;
}

// The rules, for the end of the help.
std::string ListOfRules() {
    std::string list = "Rules (docs/lint.md):\n";
    for (const LintRule& rule : LintRules()) {
        list += "  " + std::string(rule.number) + "  " + std::string(rule.name) + "\n";
    }
    return list;
}

} // namespace

void AddLint(CLI::App& app, int& status) {
    const auto words = std::make_shared<LintWords>();
    CLI::App* const verb = app.add_subcommand("lint", "Finds what is wrong with captures.");
    verb->footer(ListOfRules());
    verb->add_option("CAPTURE", words->captures, "The .reg files")->required();
    verb->add_option("--server", words->servers,
                     "FILE or FILE=CAPTURED PATH: a server, and where it was captured")
        ->allow_extra_args(false);
    verb->add_option("--against", words->against, "An older capture, to compare with");
    verb->add_flag("--json", words->isJson, "Writes the findings as JSON");
    verb->callback([words, &status] { status = StatusOf([&words] { return Lint(*words); }); });
}

} // namespace keyreap
