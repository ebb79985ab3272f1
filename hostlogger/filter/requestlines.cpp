#include "hostlogger/filter/requestlines.h"

#include <algorithm>
#include <array>

namespace keyreap {
namespace {

struct KeptRequest {
    std::string_view name;
    // Where the request's private part begins; it reaches to the end of the line.
    std::string_view privateFrom = {};
};

// By name, for the search.
constexpr std::array<KeptRequest, 16> KEPT_REQUESTS = {{
    {"close_handle"},
    {"create_key"},
    {"delete_key"},
    {"delete_key_value"},
    {"dup_handle"},
    {"get_key_value", ", data={"},
    {"get_mapping_info"},
    {"get_process_debug_info"},
    {"init_first_thread"},
    {"new_process", ", info={"},
    {"new_thread"},
    {"open_key"},
    {"open_process"},
    {"rename_key"},
    {"set_handle_info"},
    {"set_key_value", ", data={"},
}};
static_assert(std::ranges::is_sorted(KEPT_REQUESTS, {}, &KeptRequest::name));

// What the server reports by itself.
constexpr std::array<std::string_view, 2> KEPT_EVENTS = {"*killed*", "*process killed*"};

// What it says of a key that it opened or made, under its real name, between the request and the reply.
constexpr std::array<std::string_view, 2> KEPT_PATHS = {"Open key ", "Create key "};

// What it says when programs can reach it.
constexpr std::string_view SERVER_IS_UP = "wineserver: starting";

// Behind the id of the thread.
std::string_view BehindThread(std::string_view line) {
    const std::size_t end = line.find_first_not_of("0123456789abcdef");
    const bool isThread = end != 0 && end != std::string_view::npos && line.substr(end, 2) == ": ";
    return isThread ? line.substr(end + 2) : std::string_view{};
}

const KeptRequest* FindKept(std::string_view name) {
    const auto found = std::ranges::lower_bound(KEPT_REQUESTS, name, {}, &KeptRequest::name);
    return found != KEPT_REQUESTS.end() && found->name == name ? &*found : nullptr;
}

// Where `mark` begins outside of quoted names, in which a backslash takes away the next character's meaning;
// the text's length if nowhere.
std::size_t FindOutsideNames(std::string_view text, std::string_view mark) {
    bool quoted = false;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (quoted && text[at] == '\\') {
            ++at;
        } else if (text[at] == '"') {
            quoted = !quoted;
        } else if (!quoted && text.substr(at, mark.size()) == mark) {
            return at;
        }
    }
    return text.size();
}

bool IsKeptEvent(std::string_view text) {
    return std::ranges::any_of(KEPT_EVENTS, [&](std::string_view event) { return text.starts_with(event); });
}

bool IsKeptLine(std::string_view line) {
    return line.starts_with(SERVER_IS_UP) ||
           std::ranges::any_of(KEPT_PATHS, [&](std::string_view start) { return line.starts_with(start); });
}

void AppendWithoutPrivatePart(std::string_view line, std::string_view privateFrom, std::string& kept) {
    const std::size_t end = FindOutsideNames(line, privateFrom);
    kept += line.substr(0, end);
    if (end < line.size()) {
        kept += line.back() == '}' ? " }" : " )";
    }
    kept += '\n';
}

} // namespace

void AppendKeptPart(std::string_view line, std::string& kept) {
    const std::string_view text = BehindThread(line);
    const KeptRequest* request = FindKept(text.substr(0, text.find('(')));
    if (request != nullptr && !request->privateFrom.empty()) {
        AppendWithoutPrivatePart(line, request->privateFrom, kept);
    } else if (request != nullptr || IsKeptEvent(text) || IsKeptLine(line)) {
        kept.append(line).push_back('\n');
    }
}

void RequestLines::Take(std::string_view piece, std::string& kept) {
    for (std::size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
        if (begun.empty()) {
            AppendKeptPart(piece.substr(0, std::min(end, MAX_LINE_LENGTH)), kept);
        } else {
            Begin(piece.substr(0, end));
            AppendKeptPart(begun, kept);
            begun.clear();
        }
        piece.remove_prefix(end + 1);
    }
    Begin(piece);
}

void RequestLines::Begin(std::string_view head) {
    begun += head.substr(0, MAX_LINE_LENGTH - begun.size());
}

} // namespace keyreap
