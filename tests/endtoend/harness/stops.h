#pragma once

#include <string>

namespace keyreap::endtoend {

// Holds the sample `stopping` at its points: loading (the capture has begun, no code of the target has run),
// registering (half of its entries are written) and unloading (the capture has ended, its result is not yet
// written). This affects the programs that are started while the object lives.
class Stops {
public:
    // Creates the folder, in which the sample looks for its orders.
    explicit Stops(const std::wstring& folder);
    Stops(const Stops&) = delete;
    Stops& operator=(const Stops&) = delete;
    ~Stops();

    void Hold(const std::wstring& point) const;
    void LetGo(const std::wstring& point) const;
    bool IsReached(const std::wstring& point) const;
    // The test fails if the point is not reached in time.
    void Await(const std::wstring& point) const;
    // No point is reached and none is held any more.
    void Reset() const;

private:
    std::wstring folder;
};

} // namespace keyreap::endtoend
