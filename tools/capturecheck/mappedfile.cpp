#include "tools/capturecheck/mappedfile.h"

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace keyreap {

MappedFile::MappedFile(const std::string& path) {
    // Without O_NONBLOCK, opening a pipe would wait for its other end.
    const int file = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (file == -1) {
        return;
    }
    struct stat status = {};
    isOpen = fstat(file, &status) == 0 && S_ISREG(status.st_mode);
    if (isOpen && status.st_size > 0) {
        const auto size = static_cast<std::size_t>(status.st_size);
        void* place = mmap(nullptr, size, PROT_READ, MAP_PRIVATE, file, 0);
        isOpen = place != MAP_FAILED;
        bytes = isOpen ? std::span(static_cast<const std::byte*>(place), size) : bytes;
    }
    close(file);
}

MappedFile::~MappedFile() {
    if (!bytes.empty()) {
        munmap(const_cast<std::byte*>(bytes.data()), bytes.size());
    }
}

} // namespace keyreap
