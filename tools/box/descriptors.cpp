#include "tools/box/descriptors.h"

#include <fcntl.h>
#include <linux/close_range.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <unistd.h>

#include <cerrno>
#include <cstdlib>
#include <filesystem>
#include <system_error>

namespace keyreap {
namespace {

// Kernels before 5.11 can't do that for a range.
void KeepEachFromOthers(int first) {
    std::error_code error;
    for (std::filesystem::directory_iterator entry("/proc/self/fd", error), end; !error && entry != end;
         entry.increment(error)) {
        const int descriptor = std::atoi(entry->path().filename().c_str());
        if (descriptor >= first) {
            fcntl(descriptor, F_SETFD, FD_CLOEXEC);
        }
    }
}

} // namespace

Pipe MakePipe() {
    std::array<int, 2> ends = {};
    if (pipe2(ends.data(), O_CLOEXEC) != 0) {
        throw std::system_error(errno, std::generic_category(), "a pipe can't be made");
    }
    return {ends[0], ends[1]};
}

int FileOfWords(const std::string& bytes) {
    const int file = memfd_create("words", MFD_CLOEXEC);
    if (file == -1 || write(file, bytes.data(), bytes.size()) != static_cast<ssize_t>(bytes.size()) ||
        lseek(file, 0, SEEK_SET) != 0) {
        throw std::system_error(errno, std::generic_category(), "a file in memory can't be made");
    }
    return file;
}

void Close(int& descriptor) {
    if (descriptor != -1) {
        close(descriptor);
        descriptor = -1;
    }
}

void KeepFromOthers(int first) {
    if (syscall(SYS_close_range, first, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
        KeepEachFromOthers(first);
    }
}

std::string ReadAll(int descriptor) {
    std::string text;
    std::array<char, 4096> piece = {};
    for (;;) {
        const ssize_t length = read(descriptor, piece.data(), piece.size());
        if (length > 0) {
            text.append(piece.data(), static_cast<std::size_t>(length));
        } else if (length == 0 || errno != EINTR) {
            return text;
        }
    }
}

} // namespace keyreap
