#include "tools/selfcheck/testoutput.h"

#include <algorithm>
#include <optional>

namespace keyreap {

namespace {

constexpr std::string_view blanks = " \t\r";
// A shorter line says nothing, and is in any program.
constexpr std::size_t shortestLine = 4;

std::string_view Trimmed(std::string_view text) {
    const std::size_t first = text.find_first_not_of(blanks);
    return first == std::string_view::npos ? std::string_view()
                                           : text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

bool IsNumber(std::string_view text) {
    return !text.empty() && text.size() <= 20 &&
           text.find_first_not_of("0123456789-") == std::string_view::npos;
}

bool Contains(std::string_view program, std::string_view text) {
    return program.find(text) != std::string_view::npos;
}

bool IsEndOfText(std::string_view program, std::size_t at) {
    return at >= program.size() || program[at] == '\0' || program[at] == '\n';
}

// Not as a part of another text: somebody's name may be a part of one.
bool ContainsWhole(std::string_view program, std::string_view text) {
    for (std::size_t at = program.find(text); at != std::string_view::npos; at = program.find(text, at + 1)) {
        if ((at == 0 || IsEndOfText(program, at - 1)) && IsEndOfText(program, at + text.size())) {
            return true;
        }
    }
    return false;
}

// As in tests/unit/os/process_test.cpp:25: Failure
bool IsPlaceOfFailure(std::string_view line, std::string_view program) {
    constexpr std::string_view end = ": Failure";
    if (!line.ends_with(end)) {
        return false;
    }
    const std::string_view place = line.substr(0, line.size() - end.size());
    const std::size_t colon = place.rfind(':');
    return colon != std::string_view::npos && IsNumber(place.substr(colon + 1)) && colon >= shortestLine &&
           Contains(program, place.substr(0, colon));
}

bool IsValueOfNumber(std::string_view line) {
    constexpr std::string_view start = "Which is: ";
    return line.starts_with(start) && IsNumber(line.substr(start.size()));
}

bool IsOwnLine(std::string_view line, std::string_view program) {
    return IsPlaceOfFailure(line, program) || IsValueOfNumber(line) ||
           (line.size() >= shortestLine && ContainsWhole(program, line));
}

// The name after a mark such as "[       OK ] "; none for a line with another mark, or with a sum.
std::optional<std::string> NameAfter(std::string_view line, std::string_view mark) {
    if (!line.starts_with(mark)) {
        return std::nullopt;
    }
    const std::string_view rest = line.substr(mark.size());
    const std::string_view name = rest.substr(0, rest.find_first_of(", \r"));
    return name.find('.') == std::string_view::npos ? std::nullopt : std::optional<std::string>(name);
}

class Reader {
public:
    explicit Reader(std::string_view program) : program(program) {}

    void TakeLine(std::string_view line) {
        if (const auto started = NameAfter(line, "[ RUN      ] ")) {
            results.unfinished = *started;
            lines.clear();
        } else if (NameAfter(line, "[       OK ] ")) {
            End(true);
        } else if (NameAfter(line, "[  FAILED  ] ") || NameAfter(line, "[  SKIPPED ] ")) {
            End(false);
        } else if (line.starts_with("[==========] ") && line.find(" ran. (") != std::string_view::npos) {
            results.isComplete = true;
        } else if (IsOwnLine(Trimmed(line), program)) {
            lines.emplace_back(Trimmed(line));
        }
    }
    const SuiteResults& Results() const { return results; }

private:
    // The names of failed tests are listed once more at the end, when no test runs.
    void End(bool hasPassed) {
        if (!results.unfinished.empty()) {
            results.tests.push_back(
                {results.unfinished, hasPassed, hasPassed ? std::vector<std::string>() : lines});
            results.unfinished.clear();
        }
    }

    std::string_view program;
    SuiteResults results;
    std::vector<std::string> lines;
};

} // namespace

SuiteResults ReadTestOutput(std::string_view output, std::string_view program) {
    Reader reader(program);
    for (std::size_t at = 0; at < output.size();) {
        const std::size_t end = std::min(output.find('\n', at), output.size());
        reader.TakeLine(output.substr(at, end - at));
        at = end + 1;
    }
    return reader.Results();
}

} // namespace keyreap
