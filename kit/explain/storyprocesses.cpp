#include "kit/explain/storyprocesses.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

// How many characters of a name a system keeps that cuts it off (ImageFileName of EPROCESS has 15 bytes, with
// or without a terminator).
constexpr std::size_t shortestCut = 14;
constexpr std::size_t longestCut = 15;

std::wstring Plain(std::wstring_view text) {
    constexpr wchar_t lastOfAscii = 0x7F;
    std::wstring plain(text);
    std::ranges::replace_if(
        plain, [](wchar_t unit) { return unit > lastOfAscii; }, L'?');
    return plain;
}

} // namespace

void StoryProcesses::Start(std::uint32_t id, std::uint32_t parentId, std::wstring imageName,
                           bool isOfCapture) {
    const std::size_t parent = Of(parentId);
    latest[id] = list.size();
    list.push_back({id, parent, std::move(imageName), isOfCapture});
}

std::size_t StoryProcesses::Of(std::uint32_t id) const {
    const auto found = latest.find(id);
    return found == latest.end() ? noIndex : found->second;
}

std::size_t StoryProcesses::Known(std::uint32_t id) {
    if (Of(id) == noIndex) {
        Start(id, 0, {}, false);
        list.back().parent = noIndex;
    }
    return latest[id];
}

void StoryProcesses::Name(std::uint32_t id, std::wstring imageName) {
    list[Known(id)].imageName = std::move(imageName);
}

bool CanBeImage(std::wstring_view logged, std::wstring_view image) {
    if (EqualFolded(logged, image)) {
        return true;
    }
    const std::wstring plain = Plain(logged);
    const std::wstring wanted = Plain(image);
    const bool isCut = logged.size() >= shortestCut && logged.size() <= longestCut;
    return EqualFolded(plain, wanted) || (isCut && StartsWithFolded(wanted, plain));
}

} // namespace keyreap
