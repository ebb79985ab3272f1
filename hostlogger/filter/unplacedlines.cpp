#include "hostlogger/filter/unplacedlines.h"

#include "hostlogger/filter/logline.h"
#include "hostlogger/filter/requestforms.h"
#include "hostlogger/filter/servernames.h"
#include "hostlogger/requestline.h"
#include "hostlogger/requestwords.h"

#include <algorithm>
#include <array>

namespace keyreap {
namespace {

// What the servers write after the id of a thread or process, apart from requests.
constexpr std::array<std::string_view, 8> events = {
    "*fd* ",     requestword::threadEnd, requestword::processEnd, "*signal* ", "*wakeup* ", "*sent signal* ",
    "*exited* ", "*watchdog* ",
};

// What the servers write about a key, before its path. All paths begin with the root's name.
constexpr std::array<std::string_view, 9> keyLines = {
    "Set key ",
    "Get key ",
    "Enum key ",
    requestword::openedKey,
    "Skip setting key ",
    requestword::createdKey,
    "Delete key ",
    "Rename key ",
    "Not saving clean key ",
};
constexpr std::string_view rootKey = "REGISTRY";

// How the servers' other messages begin.
constexpr std::array<std::string_view, 35> messages = {
    "ERROR: ld.so: ", // of the loader, which starts the server
    "wineserver: ",
    "system.reg:",
    "userdef.reg:",
    "user.reg:",
    "<fd>:",
    "Protocol error",
    "Unable to look up interface index for ",
    "Warning: a previous instance of the wine server seems to have crashed.",
    "Please run 'gdb ",
    "type 'backtrace' at the gdb prompt ",
    "activating ",
    "completing ",
    "epoll_ctl: ",
    "failed to bind to interface: ",
    "failed to load l_intl.nls",
    "fixed a temporary directory error, ",
    "getsockopt TCP_INFO failed: ",
    "inotify_poll_event(): ",
    "invalid format for casemap table ",
    "no inode matches ",
    "no memory for ",
    "partial wakeup write ",
    "partial write ",
    "post_win_event: ",
    "recv error on socket ",
    "recvmsg: ",
    "register_bound_address: ",
    "sendmsg: ",
    "setsockopt ",
    "signalling ",
    "sock_init: ",
    "sock_reselect(",
    "socket ",
    "waitpid: ",
};

constexpr std::string_view serverEnds = "wineserver: exiting ";

template <typename Starts>
bool StartsWithAny(std::string_view line, const Starts& starts) {
    return std::ranges::any_of(starts, [&](std::string_view start) { return line.starts_with(start); });
}

// Whether the tracker reads the line.
bool IsRealPath(std::string_view line) {
    return line.starts_with(requestword::openedKey) || line.starts_with(requestword::createdKey);
}

// The rest of a line about a key, from its path on; empty for any other line.
std::string_view FromKeyPath(std::string_view line) {
    const auto found =
        std::ranges::find_if(keyLines, [&](std::string_view start) { return line.starts_with(start); });
    return found != keyLines.end() ? line.substr(found->size()) : std::string_view{};
}

bool EndsName(std::string_view line) {
    return line.ends_with("\" )") || line.ends_with("\" }");
}

// Whether a request or reply ends within the name of a Unix file, in which the server leaves a line break as
// it is. Such a name is the last field, in quotes without an L. `afterName` is the line from the bracket on.
bool EndsWithinName(std::string_view afterName) {
    if (EndsName(afterName) || afterName.find("=\"") == std::string_view::npos) {
        return false;
    }
    const std::string_view begin = afterName.starts_with("()") ? "{ " : "( ";
    const std::size_t start = std::min(afterName.find(begin), afterName.size() - begin.size());
    RequestFields field(afterName.substr(start + begin.size()));
    while (field.Next()) {
        if (field.Value().starts_with('"')) {
            return true;
        }
    }
    return false;
}

// The bytes of a value are on several lines. All but the last line end with a backslash.
bool IsDataLine(std::string_view line) {
    constexpr std::string_view indent = "  ";
    line.remove_suffix(line.ends_with('\\') ? 1 : 0);
    return line.starts_with(indent) && std::ranges::all_of(line.substr(indent.size()), [](char letter) {
               return letter == ',' || IsHexDigit(letter);
           });
}

std::string Shown(std::string_view line) {
    constexpr std::size_t mostShown = 200;
    const bool continues = line.starts_with(' ') || line.starts_with('\t');
    const std::string_view marks = AfterThread(line).empty() ? "\"{=" : "\"{";
    const std::size_t open = continues ? 0 : std::min(line.find_first_of(marks), line.size());
    std::string shown(line.substr(0, std::min(open, mostShown)));
    const auto isOther = [](char letter) { return letter < ' ' || letter > '~'; };
    std::ranges::replace_if(shown, isOther, '?');
    return shown.size() < line.size() ? shown + "..." : shown;
}

} // namespace

void UnplacedLines::Check(std::string_view line) {
    if (IsPlaced(line)) {
        return;
    }
    if (count++ == 0) {
        first = Shown(line);
    }
}

bool UnplacedLines::IsPlaced(std::string_view line) {
    if (ended) {
        return true;
    }
    const std::string_view text = AfterThread(line);
    const bool placed = text.empty() ? IsPlacedServerLine(line) : IsPlacedThreadLine(line, text);
    return placed || IsContinuation(line);
}

bool UnplacedLines::IsPlacedThreadLine(std::string_view line, std::string_view text) {
    if (text.starts_with('*')) {
        return StartsWithAny(text, events);
    }
    const std::size_t bracket = std::min(text.find('('), text.size());
    const std::string_view name = text.substr(0, bracket);
    if (bracket == text.size() || !IsServerRequest(name)) {
        return false;
    }
    const bool isCut = line.size() >= maximumLineLength;
    const bool placed = isCut || HasNeededForm(name, text.substr(bracket));
    dataContinues = false;
    nameContinues = placed && !isCut && EndsWithinName(text.substr(bracket));
    return placed;
}

bool UnplacedLines::IsPlacedServerLine(std::string_view line) {
    if (const std::string_view path = FromKeyPath(line); !path.empty()) {
        dataContinues = path.ends_with('\\');
        nameContinues = false;
        return path.starts_with(rootKey) && (!IsRealPath(line) || HasKnownEscapes(path));
    }
    ended = line.starts_with(serverEnds);
    return line.empty() || StartsWithAny(line, messages);
}

bool UnplacedLines::IsContinuation(std::string_view line) {
    if (dataContinues && IsDataLine(line)) {
        dataContinues = line.ends_with('\\');
        return true;
    }
    const bool inName = nameContinues;
    nameContinues = inName && !EndsName(line);
    return inName;
}

} // namespace keyreap
