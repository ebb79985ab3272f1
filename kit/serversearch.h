#pragma once

#include "kit/batch/outputnames.h"

#include <string>
#include <vector>

namespace keyreap {

// A server that is to be captured: as messages name it, and its places.
struct SearchedServer {
    std::string word;
    BatchServer places;
};

// The files of the words, and the servers in and below their folders, each once, in the order of the words
// and of the names. Links to folders aren't followed. With `takesPrograms` also programs without a type
// library. Fails with a Refusal if a folder can't be read.
std::vector<SearchedServer> ServersOf(const std::vector<std::string>& words, bool takesPrograms);

} // namespace keyreap
