#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>
#include <string_view>

namespace keyreap {

// The file that the kept lines go to: emptied or created with the first of them, and removed with this
// object. It holds whole lines only. Lines that could not be written are dropped, and the line LOST_LINES
// stands in their place as soon as something can be written again.
class KeptFile {
public:
    explicit KeptFile(std::string pathOfFile);
    ~KeptFile();
    KeptFile(const KeptFile&) = delete;
    KeptFile& operator=(const KeptFile&) = delete;

    // Writes whole lines, each with its line break. Never fails, and never waits for room.
    void Write(std::string_view lines);

    // What was written so far, line by line and without the line breaks.
    void ForEachLine(const std::function<void(std::string_view)>& take) const;

    static constexpr std::string_view LOST_LINES = "lost\n";

private:
    bool Open();
    // The next piece of the file; empty after the last whole line.
    std::string_view ReadPiece(std::int64_t offset, std::string& buffer) const;
    std::size_t WriteWhatFits(std::string_view text);

    std::string path;
    int file = -1;
    // Of the whole lines in the file, in bytes.
    std::int64_t length = 0;
    bool lost = false;
};

} // namespace keyreap
