#pragma once

#include "hostlogger/requesttracker.h"
#include "kit/explain/storyprocesses.h"

#include <cstdint>
#include <string>
#include <unordered_set>
#include <utility>

namespace keyreap {

// Makes a story of what the request log of Wine's server reports. A key's real path is looked up when its
// request is read, so the log has to be read while the keys are as the request left them.
class StoryRecorder : public KeyRequestListener {
public:
    explicit StoryRecorder(KeyFacts& facts) : facts(facts) {}

    // From now on operations are recorded, and started processes belong to the capture.
    void BeginCapture() { captures = true; }

    // With this begin the names of the two marks between which the trace is. The reader of this story keeps
    // its own marks to itself.
    void WatchMarks(std::wstring prefix) { markPrefix = std::move(prefix); }

    // For a process whose start the log lacks.
    void NameProcess(std::uint32_t id, std::wstring imageName) { processes.Name(id, std::move(imageName)); }

    // The process that has the id now; noIndex if none of that id was started.
    std::size_t ProcessOf(std::uint32_t id) const { return processes.Of(id); }

    // So far. Ahead of the first mark all operations are Before.
    const Story& SoFar() const { return story; }
    // At the end. Without marks all operations are During.
    Story Take();

    bool WantsKeyRequests() const override { return captures; }
    void OnProcessStart(const ProcessStart& start) override;
    void OnKeyRequest(const KeyRequest& request) override { Record(request, false); }
    void OnSystemRequest(const KeyRequest& request) override { Record(request, true); }
    void OnLostLines() override {}
    void OnMissingKey(const std::wstring& name) override;

private:
    void Record(const KeyRequest& request, bool isSystems);
    std::wstring PathOf(const KeyRequest& request) const;
    bool IsOtherView(const KeyRequest& request, const std::wstring& path);

    KeyFacts& facts;
    bool captures = false;
    std::wstring markPrefix;
    int marks = 0;
    Story story;
    StoryProcesses processes{story.processes};
    std::unordered_set<std::wstring> wideKeys; // that 32-bit processes got from the 64-bit view
};

} // namespace keyreap
