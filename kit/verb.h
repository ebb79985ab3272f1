#pragma once

#include <string>

// A verb of the program has a file of its own, with a function that adds it to the command line and says in
// `status` how it ended.
namespace CLI {
class App;
}

namespace keyreap {

// How a verb ends.
inline constexpr int statusWhole = 0;      // everything was done
inline constexpr int statusIncomplete = 1; // something was found that the output names
inline constexpr int statusRefused = 2;    // a wrong argument, or a file that can't be read or written

// One line on standard error, whatever names and data of captures are in the sentence.
void Say(const std::string& sentence);

// capture: captures many servers, each in a session of its own.
void AddCapture(CLI::App& app, int& status);

// emit: makes a part of an installer from captures.
void AddEmit(CLI::App& app, int& status);

// lint: finds what is wrong with captures.
void AddLint(CLI::App& app, int& status);

// check: finds out whether a capture is what its server registers.
void AddCheck(CLI::App& app, int& status);

// manifest: makes a manifest with which servers work without registration.
void AddManifest(CLI::App& app, int& status);

// show: makes a page of captures.
void AddShow(CLI::App& app, int& status);

// explain: captures a server and says what became of each entry.
void AddExplain(CLI::App& app, int& status);

} // namespace keyreap
