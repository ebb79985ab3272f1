#pragma once

#include <atomic>
#include <cstddef>
#include <filesystem>
#include <thread>

namespace keyreap {

// Closes the crash dialogs of this release's programs as long as it exists, since nobody sits there to do it:
// dialogs with the title "Error" whose program is in a folder or below it.
class DialogCloser {
public:
    explicit DialogCloser(const std::filesystem::path& folder);
    DialogCloser(const DialogCloser&) = delete;
    DialogCloser& operator=(const DialogCloser&) = delete;
    ~DialogCloser();

    // How many were closed. A dialog counts once.
    std::size_t Count() const { return count; }

private:
    void Run();

    std::filesystem::path folder;
    std::atomic<std::size_t> count = 0;
    std::atomic<bool> isEnding = false;
    std::thread thread;
};

} // namespace keyreap
