#pragma once

#include <cstddef>
#include <span>
#include <string>

namespace keyreap {

// A file's bytes, for reading.
class MappedFile {
public:
    explicit MappedFile(const std::string& path);
    ~MappedFile();
    MappedFile(const MappedFile&) = delete;
    MappedFile& operator=(const MappedFile&) = delete;

    bool IsOpen() const { return isOpen; }
    // Empty if the file could not be read.
    std::span<const std::byte> Bytes() const { return bytes; }

private:
    std::span<const std::byte> bytes;
    bool isOpen = false;
};

} // namespace keyreap
