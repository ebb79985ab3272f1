// KeyKitExplain OUTPUT MODE SERVER [--key KEY]... [--value NAME] [--ceiling MEGABYTES] [--time]
// [--from-trace]: captures the server and writes to OUTPUT, in UTF-8, what each operation on the registry
// became, and why. `keykit explain` starts the build of the server's bitness. Exits with 0; with 1 if a key
// that was asked about isn't in the result; with 2 if nothing can be explained, and OUTPUT then has a
// sentence. On Wine the story comes from the request log unless --from-trace asks for that of the trace, as
// on Windows.
#include "extract/errormode.h"
#include "extract/modeword.h"
#include "extract/startmodules.h"
#include "kit/explain/advice.h"
#include "kit/explain/explainedcapture.h"
#include "kit/explain/storylines.h"
#include "kit/explain/verdicttext.h"
#include "platform/core/osversion.h"
#include "platform/core/text/utf8.h"

#include <windows.h>

#include <cstdint>
#include <filesystem>
#include <fstream>
#include <string>
#include <string_view>
#include <vector>

namespace {

using keyreap::KeyFilter;

constexpr int statusWhole = 0;
constexpr int statusNotInResult = 1;
constexpr int statusRefused = 2;

struct Words {
    std::filesystem::path output;
    keyreap::ExplainRequest request;
    std::vector<std::wstring> keys;
    std::optional<std::wstring> value;
    bool showsTime = false;
};

// Up to the first unit that is no digit.
std::uint32_t NumberOf(const std::wstring& text) {
    std::uint32_t number = 0;
    for (const wchar_t unit : text) {
        if (unit < L'0' || unit > L'9') {
            break;
        }
        number = number * 10 + static_cast<std::uint32_t>(unit - L'0');
    }
    return number;
}

std::optional<Words> Parse(const std::vector<std::wstring>& given) {
    constexpr std::size_t named = 3;
    if (given.size() < named) {
        return {};
    }
    Words words;
    words.output = given[0];
    words.request.mode = keyreap::ParseModeWord(given[1]);
    words.request.server = given[2];
    for (std::size_t i = named; i < given.size(); ++i) {
        if (given[i] == L"--time") {
            words.showsTime = true;
        } else if (given[i] == L"--from-trace") {
            words.request.isFromTrace = true;
        } else if (i + 1 == given.size()) {
            return {};
        } else if (given[i] == L"--key") {
            words.keys.push_back(given[++i]);
        } else if (given[i] == L"--value") {
            words.value = given[++i];
        } else if (given[i] == L"--ceiling") {
            words.request.ceiling = NumberOf(given[++i]);
        } else {
            return {};
        }
    }
    return words;
}

class Output {
public:
    explicit Output(const std::filesystem::path& file) : stream(file, std::ios::binary) {}

    void Line(const std::wstring& text) { stream << keyreap::ReadableUtf8(text) << '\n'; }

private:
    std::ofstream stream;
};

bool WriteKeys(Output& output, const keyreap::ExplainedStory& explained,
               const std::vector<KeyFilter>& filters) {
    bool areAllThere = true;
    for (const KeyFilter& filter : filters) {
        for (const std::wstring& line : StoryLines(explained, filter)) {
            output.Line(line);
        }
        output.Line(AdviceText(explained, filter));
        areAllThere = areAllThere && IsInResult(explained, filter);
    }
    return areAllThere;
}

std::wstring TimeText(const keyreap::ExplainedCapture& capture) {
    const double passed = keyreap::ClockSeconds() - capture.clockSeconds;
    const double busy = keyreap::ProcessorSeconds() - capture.processorSeconds;
    return std::to_wstring(capture.explained.story.operations.size()) + L" operations, explained in " +
           std::to_wstring(passed) + L" seconds, of which the processor was busy for " +
           std::to_wstring(busy);
}

int Explain(const Words& words, Output& output) {
    std::vector<KeyFilter> filters;
    for (const std::wstring& key : words.keys) {
        const std::optional<KeyFilter> filter = KeyFilter::Of(key, words.value);
        if (!filter) {
            output.Line(L"--key: '" + key + L"' does not begin with a root, such as HKEY_CLASSES_ROOT");
            return statusRefused;
        }
        filters.push_back(*filter);
    }
    std::wstring failure;
    const auto capture = CaptureAndExplain(words.request, failure);
    if (!capture) {
        output.Line(words.request.server + L": " + failure);
        return statusRefused;
    }
    bool areAllThere = true;
    if (filters.empty()) {
        for (const std::wstring& line : StoryLines(capture->explained)) {
            output.Line(line);
        }
    } else {
        areAllThere = WriteKeys(output, capture->explained, filters);
    }
    if (words.showsTime) {
        output.Line(TimeText(*capture));
    }
    return areAllThere ? statusWhole : statusNotInResult;
}

// As the program itself does before its first session.
void PrepareProcess() {
    keyreap::SuppressErrorBoxes();
    keyreap::LoadStartModules();
    keyreap::RunningVersion();
    keyreap::VistaVersion();
}

} // namespace

int wmain(int argumentCount, wchar_t** arguments) {
    const std::optional<Words> words = Parse({arguments + 1, arguments + argumentCount});
    if (!words) {
        return statusRefused;
    }
    PrepareProcess();
    int status = statusRefused;
    {
        Output output(words->output);
        status = Explain(*words, output);
    }
    // Servers may still be loaded, and what they do at the end of a process must not change its status.
    TerminateProcess(GetCurrentProcess(), static_cast<UINT>(status));
    return status;
}
