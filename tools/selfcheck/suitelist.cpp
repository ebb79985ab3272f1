#include "tools/selfcheck/suitelist.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

std::vector<std::string> Pieces(std::string_view text, char separator) {
    std::vector<std::string> pieces;
    for (std::size_t at = 0; at <= text.size();) {
        const std::size_t end = std::min(text.find(separator, at), text.size());
        pieces.emplace_back(text.substr(at, end - at));
        at = end + 1;
    }
    return pieces;
}

std::string Column(const std::vector<std::string>& row, std::size_t number) {
    return number < row.size() && row[number] != "-" ? row[number] : std::string();
}

std::string WithBitness(std::string name, std::string_view bitness) {
    const std::size_t at = name.find("{}");
    return at == std::string::npos ? name : name.replace(at, 2, bitness);
}

} // namespace

std::vector<std::vector<std::string>> ReadTable(std::string_view text) {
    std::vector<std::vector<std::string>> rows;
    for (std::string& line : Pieces(text, '\n')) {
        if (line.ends_with('\r')) {
            line.pop_back();
        }
        if (!line.empty() && line.front() != '#') {
            rows.push_back(Pieces(line, '\t'));
        }
    }
    return rows;
}

std::vector<ListedSuite> ReadSuites(std::string_view text) {
    std::vector<ListedSuite> suites;
    for (const std::vector<std::string>& row : ReadTable(text)) {
        suites.push_back({Column(row, 0), Column(row, 1) == "run", Column(row, 3), Column(row, 2)});
    }
    return suites;
}

std::vector<ListedCapture> ReadCaptures(std::string_view text, std::string_view bitness) {
    std::vector<ListedCapture> captures;
    for (const std::vector<std::string>& row : ReadTable(text)) {
        ListedCapture capture{Column(row, 0), {}};
        for (std::size_t mode = 1; mode <= 3; ++mode) {
            capture.golden.push_back(WithBitness(Column(row, mode), bitness));
        }
        captures.push_back(std::move(capture));
    }
    return captures;
}

} // namespace keyreap
