#pragma once

#include "etl/registryevent.h"
#include "kit/explain/explainedstory.h"
#include "kit/explain/judge.h"
#include "regmodel/regentry.h"
#include "tests/support/letterfoldingnamerules.h"

#include <cstdint>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace keyreap {

// What the registry has while the story is judged, as texts `root path` and `root path value`.
class ListedPlaces : public LivePlaces {
public:
    bool HasKey(PredefinedRoot, const std::wstring& path) override { return keys.contains(path); }
    bool HasValue(PredefinedRoot, const std::wstring& path, const std::wstring& name) override {
        return values.contains(path + L" " + name);
    }

    std::set<std::wstring> keys;   // paths below the roots
    std::set<std::wstring> values; // path, blank, name
};

// A capture of a server, operation by operation, with its result. At first everything is during the trace and
// by the server's own thread.
class CapturedStory {
public:
    static constexpr std::uint32_t makersThread = 1;
    static constexpr std::uint32_t serversThread = 2;

    CapturedStory();

    // Who makes the later operations, and when.
    CapturedStory& By(std::size_t process, std::uint32_t thread = serversThread);
    CapturedStory& In(StoryPhase phase);
    std::size_t StartProcess(std::wstring image, std::size_t parent, bool isOfCapture = true);

    // Paths are the kernel's, below \REGISTRY. Each returns the index of the operation.
    std::size_t Add(std::uint8_t type, std::wstring_view path, std::wstring_view value = {},
                    std::uint32_t status = 0);
    std::size_t Create(std::wstring_view path) { return Add(registryevent::createKey, path); }
    std::size_t Open(std::wstring_view path, std::uint32_t status = 0) {
        return Add(registryevent::openKey, path, {}, status);
    }
    std::size_t DeleteKey(std::wstring_view path) { return Add(registryevent::deleteKey, path); }
    std::size_t Rename(std::wstring_view path, std::wstring_view newName) {
        const std::size_t index = Add(registryevent::setInformation, path);
        Operation(index).newName = newName;
        return index;
    }
    std::size_t Set(std::wstring_view path, std::wstring_view value) {
        return Add(registryevent::setValue, path, value);
    }
    std::size_t DeleteValue(std::wstring_view path, std::wstring_view value) {
        return Add(registryevent::deleteValue, path, value);
    }
    StoryOperation& Operation(std::size_t index) { return story.operations[index]; }

    // What the result has.
    CapturedStory& HasKey(std::wstring key);
    CapturedStory& HasValue(const std::wstring& key, std::wstring name);
    CapturedStory& HasFiller(const std::wstring& key, std::wstring name);

    // The operation log has what the trace had, apart from the first `lost` operations.
    void RecordTrace(std::size_t lost = 0);

    // After all that.
    ExplainedStory Explained();
    JudgedOperation VerdictOn(std::size_t operation);
    // False for an operation that doesn't matter.
    bool Matters(std::size_t operation);

    Story story;
    CaptureFacts facts;
    ListedPlaces live;

private:
    RegSection& Section(const std::wstring& key);

    LetterFoldingNameRules rules;
    RegistryLog log{rules};
    RegDocument document;
    std::size_t process = 0;
    std::uint32_t thread = serversThread;
    StoryPhase phase = StoryPhase::During;
};

inline constexpr std::wstring_view treePath =
    L"\\REGISTRY\\User\\S-1-5-21-0-0-0-1000\\Software\\Velmoro\\Tesselink\\Temporary\\";
inline constexpr std::uint32_t notFound = 0xC0000034; // STATUS_OBJECT_NAME_NOT_FOUND, ntstatus.h

} // namespace keyreap
