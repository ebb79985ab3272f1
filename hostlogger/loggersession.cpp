#include "hostlogger/loggersession.h"

#include <limits>

namespace keyreap {

namespace {

constexpr wchar_t lineEnd = L'\n';
constexpr std::int64_t base = 10;

// Takes the lines of a text one after another, and remembers whether one was missing or invalid.
class LineReader {
public:
    explicit LineReader(std::wstring_view text) : rest(text) {}

    std::wstring Text() {
        const std::size_t end = rest.find(lineEnd);
        if (end == std::wstring_view::npos) {
            valid = false;
            return {};
        }
        const std::wstring line(rest.substr(0, end));
        rest.remove_prefix(end + 1);
        return line;
    }

    template <typename Number>
    Number Digits() {
        const std::wstring line = Text();
        Number number = 0;
        valid = valid && !line.empty();
        for (const wchar_t unit : line) {
            const Number digit = static_cast<Number>(unit - L'0');
            valid = valid && unit >= L'0' && unit <= L'9' &&
                    number <= (std::numeric_limits<Number>::max() - digit) / static_cast<Number>(base);
            number = valid ? static_cast<Number>(number * static_cast<Number>(base) + digit) : Number{0};
        }
        return number;
    }

    bool ReadAll() const { return valid && rest.empty(); }

private:
    std::wstring_view rest;
    bool valid = true;
};

} // namespace

std::wstring TextOf(const StartedSession& started) {
    std::wstring text;
    for (const std::wstring& line :
         {started.session.name, started.session.logFile, std::to_wstring(started.session.maximumFileSize),
          std::to_wstring(started.session.logFileMode),
          std::to_wstring(started.session.logsProcesses ? 1 : 0), started.startMark,
          std::to_wstring(started.startTime), std::to_wstring(started.startSystemTime)}) {
        text += line;
        text += lineEnd;
    }
    return text;
}

std::optional<StartedSession> ParseStartedSession(std::wstring_view text) {
    LineReader lines(text);
    StartedSession started;
    started.session.name = lines.Text();
    started.session.logFile = lines.Text();
    started.session.maximumFileSize = lines.Digits<std::uint32_t>();
    started.session.logFileMode = lines.Digits<std::uint32_t>();
    started.session.logsProcesses = lines.Digits<std::uint32_t>() != 0;
    started.startMark = lines.Text();
    started.startTime = lines.Digits<std::int64_t>();
    started.startSystemTime = lines.Digits<std::int64_t>();
    return lines.ReadAll() ? std::optional(started) : std::nullopt;
}

} // namespace keyreap
