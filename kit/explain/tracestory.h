#pragma once

#include "kit/explain/storyprocesses.h"
#include "trace/registryeventhandler.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace keyreap {

// Makes a story of the log of a kernel trace. The names of keys are those that the program's own handler
// finds. The changes of all processes are in it, and of what is only read that of the process that captures
// and of those that were started meanwhile: a machine reads the registry all the time.
class TraceStory : public RegistryEventHandler {
public:
    // The process that captures. A server of 32 bits has the 32-bit view for its own.
    TraceStory(std::uint32_t ownProcess, std::wstring ownImage, bool is32Bit);

    // The process that had the id last; noIndex if the log has none of that id.
    std::size_t ProcessOf(std::uint32_t id) const { return processes.Of(id); }

    // After the end of the log.
    const Story& SoFar() const { return story; }
    Story Take() { return std::move(story); }

    bool Accepts(const TraceEvent& event) const override;
    void OnDecodedEvent(const TraceEvent& event, const EventValues* values) override;
    void OnFinished() override;

protected:
    void AddOperation(const TraceEvent& event, RegistryFields& fields) override;

private:
    // An operation on a key that has no name yet.
    struct Unnamed {
        std::size_t operation;
        std::uint64_t keyHandle;
        std::wstring name; // below the key
    };

    bool IsWanted(const TraceEvent& event);
    void AddProcess(const TraceEvent& event);
    void NameKey(StoryOperation& operation, std::wstring path) const;

    std::uint32_t ownProcess;
    bool is32Bit;
    std::int64_t startTime = 0;
    Story story;
    StoryProcesses processes{story.processes};
    std::vector<Unnamed> unnamed;
};

} // namespace keyreap
