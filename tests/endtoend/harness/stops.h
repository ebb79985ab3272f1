#pragma once

#include <string>

namespace keyreap::endtoend {

// Holds the sample `stopping` at its points: loading (all is armed, nothing of the target has run),
// registering (half of its entries are written) and unloading (the capture is over, its result not begun). In
// the programs started while the object lives, that is; otherwise nothing is held.
class Stops {
public:
    // Makes the folder for its files.
    explicit Stops(std::wstring folderOfStops);
    Stops(const Stops&) = delete;
    Stops& operator=(const Stops&) = delete;
    ~Stops();

    void Hold(const std::wstring& point) const;
    void LetGo(const std::wstring& point) const;
    bool IsReached(const std::wstring& point) const;
    // A point that is not reached in time is a failure of the test.
    void Await(const std::wstring& point) const;
    // Back to the beginning: nothing is reached and nothing held.
    void Reset() const;

private:
    std::wstring folder;
};

} // namespace keyreap::endtoend
