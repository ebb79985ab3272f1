#include "hostlogger/filter/keptfile.h"

#include "hostlogger/requestwords.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <utility>

namespace keyreap {
namespace {

// False for a device, which may be named to try the filter, and if the path leads to another file by now.
bool IsOrdinaryFileAt(const char* path, int file) {
    struct stat status = {};
    struct stat there = {};
    return fstat(file, &status) == 0 && S_ISREG(status.st_mode) && lstat(path, &there) == 0 &&
           there.st_dev == status.st_dev && there.st_ino == status.st_ino;
}

} // namespace

KeptFile::KeptFile(std::string path) : path(std::move(path)) {}

KeptFile::~KeptFile() {
    if (file == -1) {
        return;
    }
    if (IsOrdinaryFileAt(path.c_str(), file)) {
        unlink(path.c_str());
    }
    close(file);
}

bool KeptFile::Open() {
    if (file == -1) {
        file = open(path.c_str(), O_RDWR | O_APPEND | O_CREAT | O_TRUNC | O_CLOEXEC, S_IRUSR | S_IWUSR);
    }
    return file != -1;
}

void KeptFile::Write(std::string_view lines) {
    if (lines.empty()) {
        return;
    }
    std::string marked;
    if (lost) {
        marked.append(requestword::lost).append(1, '\n').append(lines);
        lines = marked;
    }
    const std::size_t written = Open() ? WriteWhatFits(lines) : 0;
    const std::size_t whole = lines.substr(0, written).rfind('\n') + 1;
    length += static_cast<std::int64_t>(whole);
    if (whole < written) {
        // This cuts off a partial line, which needs no room; only a device refuses it.
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

void KeptFile::ForEachLine(const std::function<void(std::string_view)>& take) const {
    constexpr std::size_t pieceSize = 1 << 20;
    std::string buffer(pieceSize, '\0');
    std::string begun;
    std::int64_t offset = 0;
    for (std::string_view piece = ReadPiece(offset, buffer); !piece.empty();
         piece = ReadPiece(offset, buffer)) {
        offset += static_cast<std::int64_t>(piece.size());
        for (std::size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
            begun += piece.substr(0, end);
            take(begun);
            begun.clear();
            piece.remove_prefix(end + 1);
        }
        begun += piece;
    }
}

std::string_view KeptFile::ReadPiece(std::int64_t offset, std::string& buffer) const {
    const auto wanted = std::min(static_cast<std::int64_t>(buffer.size()), length - offset);
    ssize_t read = 0;
    do {
        read = wanted > 0 ? pread(file, buffer.data(), static_cast<std::size_t>(wanted), offset) : 0;
    } while (read < 0 && errno == EINTR);
    return std::string_view(buffer).substr(0, read > 0 ? static_cast<std::size_t>(read) : 0);
}

} // namespace keyreap
