#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace keyreap {

// What the registry contains now, by real paths (\REGISTRY\...).
class KeyFacts {
public:
    virtual ~KeyFacts() = default;

    virtual bool Exists(const std::wstring& path) = 0;
    // Where a symbolic link leads; nothing for any other key.
    virtual std::optional<std::wstring> LinkTarget(const std::wstring& path) = 0;
};

// The view in which a request is made. A 32-bit process that doesn't ask for the 64-bit view
// (KEY_WOW64_64KEY) is redirected below Wow6432Node; one that asks for the 32-bit view (KEY_WOW64_32KEY) also
// below a handle of the 64-bit tree. A request that opens links (OBJ_OPENLINK) ends at a link instead of
// following it.
struct KeyView {
    bool redirected = false;
    bool asks32 = false;
    bool opensLink = false;

    bool operator==(const KeyView&) const = default;
};

// The real path of a key that a request found: by a name relative to the parent's real path, or by a complete
// name if the parent is empty. The server's log doesn't report it for a creation of a key that existed.
// Follows the server's own rules: links lead to their target; below a key with a Wow6432Node a redirected
// request continues in the node. The node of the classes is shared: it contains only what differs by view.
std::wstring FindRealPath(const std::wstring& parent, std::wstring_view name, KeyView view, KeyFacts& facts);

} // namespace keyreap
