#include "kit/captureservers.h"
#include "kit/verb.h"
#include "kit/verbfiles.h"

#include <CLI/CLI.hpp>

#include <memory>

namespace keyreap {

void AddCapture(CLI::App& app, int& status) {
    constexpr int mostJobs = 256;
    constexpr int longestTimeout = 86400;
    const auto words = std::make_shared<CaptureWords>();
    CLI::App* const verb =
        app.add_subcommand("capture", "Captures many servers, each in a session of its own.");
    verb->add_option("SERVER", words->servers, "The servers' files, and folders of servers")->required();
    verb->add_option("--jobs", words->jobs,
                     "How many sessions run at once; two a processor without this word")
        ->check(CLI::Range(1, mostJobs));
    verb->add_option("--mode", words->mode, "How they are captured")
        ->check(CLI::IsMember(std::vector<std::string>{"keyRedir", "trace", "both"}));
    verb->add_option("--out", words->folder,
                     "The folder for the captures; the current one without this word");
    verb->add_option(
            "--timeout", words->timeout,
            "After how many seconds a server that hangs is ended; 0 for never, 120 without this word")
        ->check(CLI::Range(0, longestTimeout));
    verb->add_option("--json", words->json, "The file for a summary; - for standard output");
    verb->add_flag("--resume", words->resumes, "Leaves out what was captured before and is unchanged");
    verb->add_flag("--programs", words->takesPrograms,
                   "Also starts those programs of a folder that have no type library, whatever they do then");
    verb->callback([words, &status] { status = StatusOf([&words] { return CaptureServers(*words); }); });
}

} // namespace keyreap
