#include "kit/explainer.h"
#include "kit/serverfile.h"
#include "kit/verb.h"
#include "platform/core/text/utf8.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace keyreap {

namespace {

struct ExplainWords {
    std::string server;
    std::string mode = "both";
    std::vector<std::string> keys;
    std::optional<std::string> value;
    std::string ceiling;
    bool showsTime = false;
};

int Explain(const ExplainWords& words) {
    const std::variant<ServerFile, std::string> server = ReadServer(words.server);
    if (const auto* const reason = std::get_if<std::string>(&server)) {
        Say(*reason);
        return statusRefused;
    }
    const auto& file = std::get<ServerFile>(server);
    std::vector<std::string> line = {words.mode, ReadableUtf8(file.server.capturedPath)};
    for (const std::string& key : words.keys) {
        line.insert(line.end(), {"--key", key});
    }
    if (words.value) {
        line.insert(line.end(), {"--value", *words.value});
    }
    if (!words.ceiling.empty()) {
        line.insert(line.end(), {"--ceiling", words.ceiling});
    }
    if (words.showsTime) {
        line.emplace_back("--time");
    }
    // A type library is registered by the 32-bit program, too.
    return RunExplainer(file.bitness == 64 ? "x64" : "x86", line);
}

} // namespace

void AddExplain(CLI::App& app, int& status) {
    const auto words = std::make_shared<ExplainWords>();
    CLI::App* const verb =
        app.add_subcommand("explain", "Captures a server, and says what became of each entry and why.");
    verb->add_option("SERVER", words->server, "The server's file")->required();
    verb->add_option("--mode", words->mode, "How it is captured")
        ->check(CLI::IsMember(std::vector<std::string>{"keyRedir", "trace", "both"}, CLI::ignore_case));
    CLI::Option* const key = verb->add_option(
        "--key", words->keys, "A key; its whole story and that of the keys above it are shown");
    key->allow_extra_args(false);
    verb->add_option("--value", words->value, "A value of these keys; an empty name is the default value's")
        ->needs(key);
    verb->add_option("--ceiling", words->ceiling,
                     "Of the trace's log, in megabytes, in place of the usual 2048")
        ->check(CLI::Range(1, 2048));
    verb->add_flag("--time", words->showsTime, "Also how long it took to find the reasons");
    verb->callback([words, &status] { status = Explain(*words); });
}

} // namespace keyreap
