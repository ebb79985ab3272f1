#pragma once

#include "kit/emit/installdata.h"
#include "pe/imageheaders.h"

#include <optional>
#include <string>
#include <variant>

namespace keyreap {

struct ServerFile {
    InstallServer server;
    std::optional<int> bitness; // a type library has none
};

// The server of a word FILE or FILE=CAPTURED PATH; otherwise a sentence that says why there is none. Without
// a path the server was captured where it is.
std::variant<ServerFile, std::string> ReadServer(const std::string& word);

// That of an image for x86 or x64; none for any other machine.
std::optional<int> BitnessOf(const ImageHeaders& headers);

// FILE of such a word.
std::string ServerFileName(const std::string& word);

} // namespace keyreap
