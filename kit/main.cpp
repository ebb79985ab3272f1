// keykit: turns captures into what an installer carries. The first word is a verb, with a file of its own.
#include "kit/commandline.h"

#ifdef _WIN32
#include "platform/core/text/utf8.h"

#include <fcntl.h>
#include <io.h>

#include <cstdio>

int wmain(int argc, wchar_t** argv) {
    // Otherwise a line break of a result would get a second carriage return.
    _setmode(_fileno(stdout), _O_BINARY);
    std::vector<std::string> words;
    for (int i = 1; i < argc; ++i) {
        words.push_back(keyreap::ReadableUtf8(argv[i]));
    }
    return keyreap::RunCommandLine(std::move(words));
}
#else
int main(int argc, char** argv) {
    return keyreap::RunCommandLine({argv + 1, argv + argc});
}
#endif
