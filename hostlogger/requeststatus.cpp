#include "hostlogger/requeststatus.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace keyreap {

namespace {

constexpr std::uint32_t statusUnsuccessful = 0xC0000001; // ntstatus.h

struct NamedStatus {
    std::string_view name;
    std::uint32_t value;
};

// The statuses of requests about keys and handles; values of ntstatus.h.
constexpr std::array statuses{
    NamedStatus{"ACCESS_DENIED", 0xC0000022},
    NamedStatus{"ACCESS_VIOLATION", 0xC0000005},
    NamedStatus{"BUFFER_OVERFLOW", 0x80000005},
    NamedStatus{"BUFFER_TOO_SMALL", 0xC0000023},
    NamedStatus{"CANNOT_DELETE", 0xC0000121},
    NamedStatus{"CHILD_MUST_BE_VOLATILE", 0xC0000181},
    NamedStatus{"INSUFFICIENT_RESOURCES", 0xC000009A},
    NamedStatus{"INVALID_HANDLE", 0xC0000008},
    NamedStatus{"INVALID_PARAMETER", 0xC000000D},
    NamedStatus{"KEY_DELETED", 0xC000017C},
    NamedStatus{"NAME_TOO_LONG", 0xC0000106},
    NamedStatus{"NO_MEMORY", 0xC0000017},
    NamedStatus{"NO_MORE_ENTRIES", 0x8000001A},
    NamedStatus{"OBJECT_NAME_COLLISION", 0xC0000035},
    NamedStatus{"OBJECT_NAME_EXISTS", statusObjectNameExists},
    NamedStatus{"OBJECT_NAME_INVALID", 0xC0000033},
    NamedStatus{"OBJECT_NAME_NOT_FOUND", 0xC0000034},
    NamedStatus{"OBJECT_PATH_INVALID", 0xC0000039},
    NamedStatus{"OBJECT_PATH_NOT_FOUND", 0xC000003A},
    NamedStatus{"OBJECT_PATH_SYNTAX_BAD", 0xC000003B},
    NamedStatus{"OBJECT_TYPE_MISMATCH", 0xC0000024},
    NamedStatus{"PREDEFINED_HANDLE", 0x40000016},
    NamedStatus{"PRIVILEGE_NOT_HELD", 0xC0000061},
};

} // namespace

std::uint32_t ServerStatus(std::string_view text) {
    const auto known = std::ranges::find(statuses, text, &NamedStatus::name);
    if (known != statuses.end()) {
        return known->value;
    }
    std::uint32_t number = 0;
    const char* const end = text.data() + text.size();
    const auto result = std::from_chars(text.data(), end, number, 16);
    return result.ec == std::errc{} && result.ptr == end ? number : statusUnsuccessful;
}

} // namespace keyreap
