#pragma once

#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

// What a run of captures leaves in the folder of its captures, so that a later one can leave out what is
// unchanged.
namespace keyreap {

// All that a capture follows from, and the capture. Files are a full name and a digest each.
struct CaptureDone {
    std::string digest; // the capture's
    std::string mode;
    std::string version; // of the program that captured, and of its host
    std::vector<std::pair<std::string, std::string>> files;

    friend bool operator==(const CaptureDone&, const CaptureDone&) = default;
};

// By the captures' names below the folder.
using CapturesDone = std::map<std::string, CaptureDone>;

// The name of the file in that folder.
inline constexpr const char* capturesDoneName = "keykit-capture.json";

std::string CapturesDoneText(const CapturesDone& done);

// The captures that the text names; none if it isn't as CapturesDoneText writes it, so that all are captured
// again.
CapturesDone CapturesDoneIn(std::string_view text);

} // namespace keyreap
