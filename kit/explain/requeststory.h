#pragma once

#include "hostlogger/requestlog.h"
#include "kit/explain/storyrecorder.h"
#include "kit/explain/storysource.h"

namespace keyreap {

// The story from the request log of Wine's server, which also says what a trace leaves out. Windows only.
class RequestStorySource : public StorySource {
public:
    bool Begin(std::wstring& failure) override;
    void OnStopped() override { requests.ReadToNow(&recorder); }
    void OnRead(const std::wstring&) override {}
    bool End(std::wstring& failure) override;
    const Story& SoFar() const override { return recorder.SoFar(); }
    std::size_t ProcessOf(std::uint32_t id) const override { return recorder.ProcessOf(id); }
    Story Take() override { return recorder.Take(); }

private:
    RequestLog requests{RequestLogPath()};
    StoryRecorder recorder{requests.Facts()};
};

} // namespace keyreap
