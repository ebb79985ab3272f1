// Here the program runs under Wine, in a session that a script begins. ./keykit says where that is.
#include "kit/commandoutput.h"
#include "kit/explainer.h"
#include "kit/verb.h"

#include <sys/wait.h>
#include <unistd.h>

#include <cstdlib>

namespace keyreap {

namespace {

[[noreturn]] void Become(const std::vector<std::string>& words) {
    std::vector<char*> pointers;
    for (const std::string& word : words) {
        pointers.push_back(const_cast<char*>(word.c_str()));
    }
    pointers.push_back(nullptr);
    execv(pointers.front(), pointers.data());
    Say(words.front() + ": it can't be started");
    std::_Exit(statusRefused);
}

} // namespace

int RunExplainer(const std::string& bitness, const std::vector<std::string>& words) {
    const char* const script = std::getenv("KEYKIT_EXPLAIN");
    if (script == nullptr) {
        Say("explain: start it as ./keykit explain, which knows where Wine's sessions begin");
        return statusRefused;
    }
    std::vector<std::string> line = {script, bitness};
    line.insert(line.end(), words.begin(), words.end());
    Become(line);
}

std::string ExplainedText(const std::string& bitness, const std::vector<std::string>& words) {
    const char* const script = std::getenv("KEYKIT_EXPLAIN");
    if (script == nullptr) {
        return {};
    }
    std::vector<std::string> line = {script, bitness};
    line.insert(line.end(), words.begin(), words.end());
    return OutputOf(line).value_or(std::string());
}

} // namespace keyreap
