#pragma once

#include "kit/explain/story.h"

#include <cstddef>
#include <cstdint>
#include <string>

namespace keyreap {

// Where the story of a capture comes from. It is called in this order, and a session that starts no trace
// leaves the calls in the middle out.
class StorySource {
public:
    virtual ~StorySource() = default;

    // Before the capture. False with a sentence if there can be no story.
    virtual bool Begin(std::wstring& failure) = 0;

    // The session is about to start its trace; the trace has stopped; the session has read its log, which is
    // deleted when this returns.
    virtual void OnStart() {}
    virtual void OnStopped() {}
    virtual void OnRead(const std::wstring& logFile) = 0;

    // After the capture. False with a sentence if the story isn't whole.
    virtual bool End(std::wstring& failure) = 0;

    virtual const Story& SoFar() const = 0;
    // The process of the story that had this id last.
    virtual std::size_t ProcessOf(std::uint32_t id) const = 0;
    virtual Story Take() = 0;
};

} // namespace keyreap
