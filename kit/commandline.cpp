#include "kit/commandline.h"

#include "kit/capture/messageline.h"
#include "kit/verb.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <iostream>

namespace keyreap {

void Say(const std::string& sentence) {
    std::cerr << "keykit: " << InOneLine(sentence) << '\n';
}

int RunCommandLine(std::vector<std::string> words) {
    int status = statusWhole;
    CLI::App app("Turns captured registry entries into what an installer carries.", "keykit");
    app.require_subcommand(1);
    AddCapture(app, status);
    AddEmit(app, status);
    AddLint(app, status);
    AddCheck(app, status);
    AddManifest(app, status);
    AddShow(app, status);
    AddExplain(app, status);
    // The library takes the words from the end.
    std::ranges::reverse(words);
    try {
        app.parse(words);
    } catch (const CLI::CallForHelp& help) {
        app.exit(help, std::cout, std::cerr);
        return statusWhole;
    } catch (const CLI::ParseError& error) {
        Say(error.what());
        return statusRefused;
    }
    return status;
}

} // namespace keyreap
