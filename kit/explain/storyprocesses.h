#pragma once

#include "kit/explain/story.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace keyreap {

// The processes of a story by their ids. A later process may have the id of an earlier one.
class StoryProcesses {
public:
    // Adds to the list, which outlives this object.
    explicit StoryProcesses(std::vector<StoryProcess>& list) : list(list) {}

    void Start(std::uint32_t id, std::uint32_t parentId, std::wstring imageName, bool isOfCapture);

    // The process that has the id now; noIndex if there is none.
    std::size_t Of(std::uint32_t id) const;
    // The same; one that wasn't started here is added.
    std::size_t Known(std::uint32_t id);
    void Name(std::uint32_t id, std::wstring imageName);

private:
    std::vector<StoryProcess>& list;
    std::unordered_map<std::uint32_t, std::size_t> latest;
};

// Whether a logged name can be that of the image. Some systems cut names off, and log narrow text.
bool CanBeImage(std::wstring_view logged, std::wstring_view image);

} // namespace keyreap
