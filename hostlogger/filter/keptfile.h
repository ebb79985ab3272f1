#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// The file that the kept lines go to: emptied or created with the first of them, and removed with this
// object. It contains whole lines only. Lines that could not be written are dropped, and a line that says so
// (requestword::lost) takes their place as soon as something can be written again.
class KeptFile {
public:
    explicit KeptFile(std::string path);
    ~KeptFile();
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;

    // Writes whole lines, each with its line break. Never fails, and never waits for room.
    void Write(std::string_view lines);

    // What was written so far, line by line and without the line breaks.
    void ForEachLine(const std::function<void(std::string_view)>& take) const;

private:
    bool Open();
    // The next piece of the file; empty after the last whole line.
    std::string_view ReadPiece(std::int64_t offset, std::string& buffer) const;
    std::size_t WriteWhatFits(std::string_view text);

    std::string path;
    int file = -1;
    std::int64_t length = 0; // bytes, of the whole lines in the file
    bool lost = false;
};

} // namespace keyreap
