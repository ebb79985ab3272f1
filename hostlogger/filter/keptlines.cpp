#include "hostlogger/filter/keptlines.h"

#include "hostlogger/filter/logline.h"
#include "hostlogger/requestwords.h"

#include <algorithm>
#include <array>

namespace keyreap {
namespace {

struct KeptRequest {
    std::string_view name;
    // Where the request's private part begins; it reaches to the end of the line.
    std::string_view privateFrom = {};
    // The field of the private part whose path's last name is kept.
    std::string_view pathField = {};
};

// Sorted by name, for the binary search.
constexpr std::array<KeptRequest, 16> keptRequests = {{
    {requestword::closeHandle},
    {requestword::createKey},
    {requestword::deleteKey},
    {requestword::deleteValue},
    {requestword::duplicateHandle},
    {requestword::queryValue, ", data={"},
    {requestword::mappingInfo},
    {requestword::debugInfo},
    {requestword::firstThread},
    {requestword::newProcess, ", info={", "imagepath=L\""},
    {requestword::newThread},
    {requestword::openKey},
    {requestword::openProcess},
    {requestword::renameKey},
    {requestword::setHandleInfo},
    {requestword::setValue, ", data={"},
}};
static_assert(std::ranges::is_sorted(keptRequests, {}, &KeptRequest::name));

// What the server reports by itself.
constexpr std::array<std::string_view, 2> keptEvents = {requestword::threadEnd, requestword::processEnd};

// Between a request and its reply: the real path of the key that was opened or made.
constexpr std::array<std::string_view, 2> keptPaths = {requestword::openedKey, requestword::createdKey};

// Written when programs can reach it.
constexpr std::string_view serverIsUp = "wineserver: starting";

const KeptRequest* FindKept(std::string_view name) {
    const auto found = std::ranges::lower_bound(keptRequests, name, {}, &KeptRequest::name);
    return found != keptRequests.end() && found->name == name ? &*found : nullptr;
}

// Where `mark` begins outside of quoted names, in which a backslash escapes the next character;
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
    return std::ranges::any_of(keptEvents, [&](std::string_view event) { return text.starts_with(event); });
}

bool IsKeptLine(std::string_view line) {
    return line.starts_with(serverIsUp) ||
           std::ranges::any_of(keptPaths, [&](std::string_view start) { return line.starts_with(start); });
}

// Where the quoted text ends that begins at the front.
std::size_t QuotedLength(std::string_view text) {
    std::size_t at = 0;
    while (at < text.size() && text[at] != '"') {
        at += text[at] == '\\' ? 2 : 1;
    }
    return std::min(at, text.size());
}

// The last name of the quoted path in the field, in the server's escapes; empty if there is none.
std::string_view LastNameIn(std::string_view part, std::string_view field) {
    constexpr std::string_view backslash = R"(\\)";
    const std::size_t begin = FindOutsideNames(part, field);
    if (field.empty() || begin == part.size()) {
        return {};
    }
    part.remove_prefix(begin + field.size());
    const std::size_t length = QuotedLength(part);
    if (length == part.size()) {
        return {}; // the line was cut off
    }
    part = part.substr(0, length);
    const std::size_t last = part.rfind(backslash);
    return last == std::string_view::npos ? part : part.substr(last + backslash.size());
}

void AppendWithoutPrivatePart(std::string_view line, const KeptRequest& request, std::string& kept) {
    const std::size_t end = FindOutsideNames(line, request.privateFrom);
    kept += line.substr(0, end);
    if (const std::string_view name = LastNameIn(line.substr(end), request.pathField); !name.empty()) {
        kept.append(", image=L\"").append(name).append("\"");
    }
    if (end < line.size()) {
        kept += line.back() == '}' ? " }" : " )";
    }
    kept += '\n';
}

} // namespace

void AppendKeptPart(std::string_view line, std::string& kept) {
    const std::string_view text = AfterThread(line);
    const KeptRequest* request = FindKept(text.substr(0, text.find('(')));
    if (request != nullptr && !request->privateFrom.empty()) {
        AppendWithoutPrivatePart(line, *request, kept);
    } else if (request != nullptr || IsKeptEvent(text) || IsKeptLine(line)) {
        kept.append(line).push_back('\n');
    }
}

void KeptLines::Take(std::string_view piece, std::string& kept) {
    for (std::size_t end = piece.find('\n'); end != std::string_view::npos; end = piece.find('\n')) {
        if (begun.empty()) {
            TakeLine(piece.substr(0, std::min(end, maximumLineLength)), kept);
        } else {
            Begin(piece.substr(0, end));
            TakeLine(begun, kept);
            begun.clear();
        }
        piece.remove_prefix(end + 1);
    }
    Begin(piece);
}

void KeptLines::TakeLine(std::string_view line, std::string& kept) {
    unplaced.Check(line);
    const std::size_t start = kept.size();
    AppendKeptPart(line, kept);
    if (kept.size() > start) {
        summaries.Take(start, kept);
    }
}

void KeptLines::Begin(std::string_view head) {
    begun += head.substr(0, maximumLineLength - begun.size());
}

} // namespace keyreap
