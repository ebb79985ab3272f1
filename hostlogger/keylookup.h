#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// What stands in the registry now, asked by real paths (\REGISTRY\...).
class KeyFacts {
public:
    virtual ~KeyFacts() = default;

    virtual bool Exists(const std::wstring& path) = 0;
    // Where a symbolic link leads; nothing for any other key.
    virtual std::optional<std::wstring> LinkTarget(const std::wstring& path) = 0;
};

// How a request looks at the registry: a 32-bit process that doesn't ask for the 64-bit view
// (KEY_WOW64_64KEY) is redirected below Wow6432Node, and one that asks for the 32-bit view (KEY_WOW64_32KEY)
// also below a handle that isn't. A request that opens links (OBJ_OPENLINK) ends with one instead of
// following it.
struct KeyView {
    bool redirected = false;
    bool asks32 = false;
    bool opensLink = false;
};

// The real path of a key that a request found: by a name relative to the parent's real path, or by a complete
// one if the parent is empty. The server's log doesn't tell it for keys that were to be created and existed.
// Follows the server's own rules: links lead to their target; below a key with a Wow6432Node a redirected
// request goes there, but for the shared one of the classes, which only holds what differs by view.
std::wstring FindRealPath(const std::wstring& parent, std::wstring_view name, KeyView view, KeyFacts& facts);

} // namespace keyreap
