#pragma once

#include "kit/capture/capture.h"
#include "kit/serverfile.h"

#include <stdexcept>
#include <string>
#include <vector>

// What the verbs read, named on the command line.
namespace keyreap {

// A sentence about an argument or a file with which nothing can be made.
class Refusal : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

// All throw Refusal for a file that can't be read, or isn't one of its kind.
Capture ReadCapture(const std::string& name);
std::vector<Capture> ReadCaptures(const std::vector<std::string>& names);
std::vector<ServerFile> ReadServers(const std::vector<std::string>& words);

// Writes to the file, or to standard output without a name. Throws Refusal if that fails.
void WriteOutput(const std::string& name, const std::string& bytes);

} // namespace keyreap
