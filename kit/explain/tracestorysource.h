#pragma once

#include "kit/explain/observedtracing.h"
#include "kit/explain/storysource.h"
#include "kit/explain/tracestory.h"
#include "trace/registrytrace.h"

#include <optional>
#include <string>

namespace keyreap {

// The story from the log of a kernel trace: of the session's own, or, for a session that starts none, of one
// around the whole capture. Windows only.
class TraceStorySource : public StorySource {
public:
    // With a trace around the capture unless the session's own is sure to come.
    TraceStorySource(EventTracing& tracing, bool tracesCapture);
    ~TraceStorySource() override;

    bool Begin(std::wstring& failure) override;
    void OnStart() override { EndOwnTrace(); } // a machine has one session of the kernel logger
    void OnRead(const std::wstring& logFile) override;
    bool End(std::wstring& failure) override;
    const Story& SoFar() const override { return story.SoFar(); }
    std::size_t ProcessOf(std::uint32_t id) const override { return story.ProcessOf(id); }
    Story Take() override { return story.Take(); }

private:
    void EndOwnTrace();

    EventTracing& tracing;
    ObservedTracing ownTracing;
    bool tracesCapture;
    std::wstring ownLog;
    std::optional<RegistryTrace> ownTrace;
    TraceStory story;
    bool isRead = false;
};

} // namespace keyreap
