#include "tools/requestfilter/keptfile.h"

#include <cerrno>
#include <utility>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace keyreap {
namespace {

// Not so a device, which somebody who tries the filter may name.
bool IsOrdinaryFile(int file) {
    struct stat status = {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode);
}

} // namespace

KeptFile::KeptFile(std::string pathOfFile) : path(std::move(pathOfFile)) {}

KeptFile::~KeptFile() {
    if (file == -1) {
        return;
    }
    if (IsOrdinaryFile(file)) {
        unlink(path.c_str());
    }
    close(file);
}

bool KeptFile::Open() {
    if (file == -1) {
        file = open(path.c_str(), O_WRONLY | O_APPEND | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    }
    return file != -1;
}

void KeptFile::Write(std::string_view lines) {
    if (lines.empty()) {
        return;
    }
    std::string marked;
    if (lost) {
        marked.append(LOST_LINES).append(lines);
        lines = marked;
    }
    const std::size_t written = Open() ? WriteWhatFits(lines) : 0;
    const std::size_t whole = lines.substr(0, written).rfind('\n') + 1;
    length += static_cast<std::int64_t>(whole);
    if (whole < written) {
        // To take back a part of a line needs no room; only a device refuses it.
        [[maybe_unused]] const int status = ftruncate(file, length);
    }
    lost = whole < lines.size();
}

std::size_t KeptFile::WriteWhatFits(std::string_view text) {
    std::size_t written = 0;
    while (written < text.size()) {
        const ssize_t step = write(file, text.data() + written, text.size() - written);
        if (step > 0) {
            written += static_cast<std::size_t>(step);
        } else if (step == 0 || errno != EINTR) {
            break;
        }
    }
    return written;
}

} // namespace keyreap
