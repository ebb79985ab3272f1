#include "kit/commandoutput.h"
#include "kit/hostfiles.h"
#include "kit/liveoutput.h"
#include "kit/refusal.h"

#include <cstdlib>
#include <initializer_list>
#include <string>
#include <vector>

namespace keyreap {

namespace {

// The command with its words, as scripts/live.sh takes them.
std::vector<std::string> WordsOf(const char* command, const LiveSession& session,
                                 const std::string& request) {
    std::vector<std::string> words = {command, session.bitness == 64 ? "x64" : "x86", request};
    const auto add = [&words](bool isWanted, std::initializer_list<std::string> more) {
        if (isWanted) {
            words.insert(words.end(), more);
        }
    };
    add(session.hasClasses, {"--classes"});
    add(session.isLogged, {"--requests"});
    add(!session.user.empty(), {"--user", session.user});
    add(!session.computer.empty(), {"--computer", session.computer});
    for (const std::string& input : session.inputs) {
        add(true, {"--input", FullName(input)});
    }
    for (const std::string& output : session.outputs) {
        add(true, {"--write", FullName(output)});
    }
    return words;
}

} // namespace

std::string LiveOutput(const LiveSession& session, const std::string& request) {
    const char* const command = std::getenv("KEYKIT_LIVE");
    if (command == nullptr) {
        throw Refusal("only the command ./keykit can start a Windows program");
    }
    return OutputOf(WordsOf(command, session, request)).value_or(std::string());
}

bool SessionsAreThrownAway() {
    return true;
}

} // namespace keyreap
