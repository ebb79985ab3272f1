#pragma once

#include "kit/explain/changeindex.h"
#include "kit/explain/meantkey.h"
#include "kit/explain/resultindex.h"
#include "kit/explain/story.h"
#include "kit/explain/traceview.h"
#include "kit/explain/verdict.h"
#include "trace/predefinedroot.h"
#include "trace/replay/registrylog.h"

#include <cstdint>
#include <string>
#include <unordered_map>
#include <vector>

namespace keyreap {

// Whether the registry has a key or a value now.
class LivePlaces {
public:
    virtual ~LivePlaces() = default;
    virtual bool HasKey(PredefinedRoot root, const std::wstring& path) = 0;
    virtual bool HasValue(PredefinedRoot root, const std::wstring& path, const std::wstring& name) = 0;
};

// What is known of a capture apart from its story.
struct CaptureFacts {
    std::size_t ownProcess = noIndex;    // the one that captures, and loads a server
    std::uint32_t ownThread = 0;         // on which it makes the result
    std::size_t serverProcess = noIndex; // the /REGSERVER process
    std::wstring temporaryPrefix; // of the temporary tree, below HKEY_CURRENT_USER, with its last backslash
    RegistryLog* log = nullptr;   // of the trace that the result comes from; null if it comes from the trees
    bool isLogFull = false;       // it may lack the oldest events
};

// Finds the verdict on each operation of a capture. The names and outcomes are those of the program itself:
// kernel paths, mappings and the operation log of the replay, and the file that it wrote.
class Judge {
public:
    // All outlive the judge.
    Judge(const Story& story, const CaptureFacts& facts, const ResultIndex& result, LivePlaces& live);

    // In the order of the story. What the capture itself does has no verdict.
    std::vector<JudgedOperation> Verdicts();

    // Whether a watched process used a key of the temporary tree.
    bool SawTemporaryTree() const { return sawTemporaryTree; }

private:
    void FindResultsBegin();
    void ReadStory();

    bool IsMakers(const StoryOperation& operation) const;
    bool IsWatched(const StoryOperation& operation) const;
    bool IsCapturesOwn(const StoryOperation& operation, const MeantKey& key) const;
    bool IsAfterwards(std::size_t operation) const;
    bool IsThereNow(const StoryOperation& operation, const MeantKey& key);

    bool JudgeOne(JudgedOperation& judged);
    bool JudgeWatched(const MeantKey& key, JudgedOperation& judged);
    bool JudgeSearch(const MeantKey& key, JudgedOperation& judged);
    bool JudgeFailure(const MeantKey& key, JudgedOperation& judged);
    void JudgeChange(const MeantKey& key, JudgedOperation& judged);
    void JudgeSet(JudgedOperation& judged, bool isCut);
    void JudgeCreation(JudgedOperation& judged, bool isCut) const;
    void JudgeRemoval(JudgedOperation& judged) const;
    void JudgeFiller(JudgedOperation& judged) const;

    const Story& story;
    const CaptureFacts& facts;
    const ResultIndex& result;
    LivePlaces& live;
    ChangeIndex changes;
    KeyNames names;
    TraceView trace;
    bool sawTemporaryTree = false;
    std::size_t resultBegins = noIndex; // the first operation of the result's maker on the trees
    std::unordered_map<std::wstring, std::uint32_t> failedReads; // of the result's maker: the last status
};

} // namespace keyreap
