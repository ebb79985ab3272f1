#include "tools/observer/splitter.h"

#include <algorithm>
#include <array>

namespace keyreap {

namespace {

constexpr std::array kinds = {"trace", "warn", "fixme", "err"};
constexpr std::array channels = {"seh", "loaddll", "dbghelp"};
constexpr std::size_t longestMark = 48;

bool IsHexDigit(char c) {
    return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f');
}

// The start of the id whose last digit is before `end`; `end` itself if there is no digit.
std::size_t StartOfId(std::string_view text, std::size_t end) {
    while (end > 0 && IsHexDigit(text[end - 1])) {
        --end;
    }
    return end;
}

bool HasChannelAt(std::string_view text, std::size_t at) {
    for (const std::string_view kind : kinds) {
        for (const std::string_view channel : channels) {
            std::string mark;
            mark.append(kind).append(":").append(channel).append(":");
            if (text.substr(at).starts_with(mark)) {
                return true;
            }
        }
    }
    return false;
}

// The first position of "PROCESS:THREAD:KIND:CHANNEL:", or npos. The ids have four digits each.
std::size_t FindMark(std::string_view text) {
    constexpr std::size_t digits = 4;
    for (std::size_t colon = text.find(':'); colon != std::string_view::npos;
         colon = text.find(':', colon + 1)) {
        const std::size_t thread = StartOfId(text, colon);
        if (colon - thread != digits || thread == 0 || text[thread - 1] != ':' ||
            !HasChannelAt(text, colon + 1)) {
            continue;
        }
        // Digits before the process id may be a program's own: a session has too few processes for longer
        // ids.
        if (thread - 1 - StartOfId(text, thread - 1) >= digits) {
            return thread - 1 - digits;
        }
    }
    return std::string_view::npos;
}

} // namespace

std::string DebugSplitter::Split(std::string_view bytes, bool more) {
    std::string own;
    pending += bytes;
    std::size_t done = 0;
    while (true) {
        const std::string_view rest = std::string_view(pending).substr(done);
        const std::size_t mark = FindMark(rest);
        if (mark == std::string_view::npos) {
            const std::size_t kept = more ? std::min(rest.size(), longestMark) : 0;
            own.append(rest.substr(0, rest.size() - kept));
            done += rest.size() - kept;
            break;
        }
        own.append(rest.substr(0, mark));
        done += mark;
        const std::size_t end = rest.find('\n', mark);
        if (end == std::string_view::npos) {
            break;
        }
        take(rest.substr(mark, end - mark));
        done += end - mark + 1;
    }
    pending.erase(0, done);
    return own;
}

} // namespace keyreap
