#include "kit/explain/storylines.h"

#include "etl/registryevent.h"
#include "kit/explain/verdicttext.h"
#include "trace/registryoperation.h"

#include <functional>
#include <tuple>
#include <unordered_map>

namespace keyreap {

namespace {

using Chosen = std::function<bool(const JudgedOperation&)>;

// Operations with the same text are one line, at the place of the first one. Each setting of a value has a
// line of its own, since their order matters.
class Lines {
public:
    explicit Lines(const ExplainedStory& explained) : explained(explained) {}

    void Add(const JudgedOperation& judged) {
        const StoryOperation& operation = explained.OperationOf(judged);
        std::wstring text = ProcessText(explained.story, operation.process) + L": " +
                            CallText(operation, judged.key) + L": " + VerdictText(explained, judged);
        const bool isFolded = operation.type != registryevent::setValue;
        const auto [place, isNew] = places.try_emplace(text, lines.size());
        if (isNew || !isFolded) {
            const std::size_t number = explained.NumberOf(judged.operation);
            const std::wstring numberText = number == 0 ? L"" : std::to_wstring(number) + L' ';
            lines.push_back({numberText + TimeText(operation) + text, 1});
        } else {
            ++lines[place->second].times;
        }
    }

    std::vector<std::wstring> Texts() const {
        std::vector<std::wstring> texts;
        for (const Line& line : lines) {
            const std::wstring times =
                line.times == 1 ? L"" : L" (" + std::to_wstring(line.times) + L" times)";
            texts.push_back(Printable(line.text + times));
        }
        return texts;
    }

private:
    struct Line {
        std::wstring text;
        std::size_t times;
    };

    static std::wstring TimeText(const StoryOperation& operation) {
        constexpr std::int64_t ticksPerMillisecond = 10'000;
        return operation.time == 0 ? std::wstring()
                                   : std::to_wstring(operation.time / ticksPerMillisecond) + L" ms ";
    }

    const ExplainedStory& explained;
    std::vector<Line> lines;
    std::unordered_map<std::wstring, std::size_t> places;
};

bool IsShown(const ExplainedStory& explained, const JudgedOperation& judged) {
    switch (judged.verdict) {
    case Verdict::OnlyOpened:
    case Verdict::NotYetThere:
        return false;
    // The system looks for settings of its own all the time.
    case Verdict::NotFound:
        return explained.story.marksSystems || !ConcernsValue(explained.OperationOf(judged).type);
    case Verdict::Systems:
        return !explained.OperationOf(judged).isSystems;
    default:
        return !explained.IsForeign(judged);
    }
}

std::wstring LeftOutText(std::size_t count) {
    return std::to_wstring(count) + L" more operations only read, or are those of the system and of other "
                                    L"programs; with --key, those on the "
                                    L"key are shown";
}

} // namespace

std::vector<std::wstring> StoryLines(const ExplainedStory& explained) {
    Lines lines(explained);
    std::size_t leftOut = 0;
    for (const JudgedOperation& judged : explained.verdicts) {
        if (IsShown(explained, judged)) {
            lines.Add(judged);
        } else {
            ++leftOut;
        }
    }
    std::vector<std::wstring> texts = lines.Texts();
    if (leftOut != 0) {
        texts.push_back(LeftOutText(leftOut));
    }
    return texts;
}

std::vector<std::wstring> StoryLines(const ExplainedStory& explained, const KeyFilter& filter) {
    Lines lines(explained);
    for (const JudgedOperation& judged : explained.verdicts) {
        if (filter.Takes(explained.OperationOf(judged), judged.key) || filter.IsRenamingTo(judged)) {
            lines.Add(judged);
        }
    }
    return lines.Texts();
}

} // namespace keyreap
