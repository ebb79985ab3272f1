#include "kit/liveoutput.h"
#include "kit/refusal.h"

#include <array>
#include <cstdio>
#include <cstdlib>

namespace keyreap {

namespace {

std::string Quoted(const std::string& word) {
    std::string quoted = "'";
    for (const char unit : word) {
        quoted += unit == '\'' ? std::string("'\\''") : std::string(1, unit);
    }
    return quoted + "'";
}

// The words after the command, as scripts/live.sh takes them.
std::string WordsOf(const LiveSession& session, const std::string& request) {
    std::string words = (session.bitness == 64 ? " x64 " : " x86 ") + Quoted(request);
    words += session.hasClasses ? " --classes" : "";
    words += session.isLogged ? " --requests" : "";
    words += session.user.empty() ? "" : " --user " + Quoted(session.user);
    words += session.computer.empty() ? "" : " --computer " + Quoted(session.computer);
    return words;
}

} // namespace

std::string LiveOutput(const LiveSession& session, const std::string& request) {
    const char* const command = std::getenv("KEYKIT_LIVE");
    if (command == nullptr) {
        throw Refusal("only the command ./keykit can start a Windows program");
    }
    const std::string words = Quoted(command) + WordsOf(session, request) + " </dev/null";
    std::FILE* const pipe = popen(words.c_str(), "r");
    std::string text;
    std::array<char, 4096> block{};
    for (std::size_t count = 1; pipe != nullptr && count > 0;) {
        count = std::fread(block.data(), 1, block.size(), pipe);
        text.append(block.data(), count);
    }
    if (pipe != nullptr) {
        pclose(pipe);
    }
    return text;
}

bool SessionsAreThrownAway() {
    return true;
}

} // namespace keyreap
