#include "hostlogger/keylookup.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <cstddef>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view node = L"Wow6432Node";
constexpr std::wstring_view sharedNode = L"\\REGISTRY\\Machine\\Software\\Classes\\Wow6432Node";
constexpr int mostLinks = 64; // followed by one lookup, so that links in a circle end

// Takes the first component off the front of a name, with the backslashes after it.
std::wstring_view TakeComponent(std::wstring_view& name) {
    const std::size_t end = std::min(name.find(L'\\'), name.size());
    const std::wstring_view component = name.substr(0, end);
    name.remove_prefix(std::min(name.find_first_not_of(L'\\', end), name.size()));
    return component;
}

bool BeginsWithNode(std::wstring_view name) {
    return EqualFolded(TakeComponent(name), node);
}

std::wstring Join(std::wstring_view path, std::wstring_view component) {
    std::wstring joined(path);
    joined += L'\\';
    joined += component;
    return joined;
}

std::wstring ParentPath(const std::wstring& path) {
    return path.substr(0, path.rfind(L'\\'));
}

bool IsShared(std::wstring_view path) {
    return EqualFolded(path, sharedNode);
}

bool HasNode(const std::wstring& path, KeyFacts& facts) {
    const std::size_t last = path.rfind(L'\\');
    const bool isNode =
        last != std::wstring::npos && EqualFolded(std::wstring_view(path).substr(last + 1), node);
    return !isNode && facts.Exists(Join(path, node));
}

// One component further; what the shared node of the classes lacks is looked up next to the node.
std::wstring Step(const std::wstring& path, std::wstring_view component, bool redirected, KeyFacts& facts) {
    if (redirected && IsShared(path) && !facts.Exists(Join(path, component))) {
        return Join(ParentPath(path), component);
    }
    return Join(path, component);
}

// A walk from a key down a name, following links.
class Walk {
public:
    explicit Walk(KeyFacts& facts) : facts(facts) {}

    std::wstring Down(std::wstring path, std::wstring_view name, bool redirected) {
        name.remove_prefix(std::min(name.find_first_not_of(L'\\'), name.size()));
        while (!name.empty()) {
            path = Step(Target(std::move(path)), TakeComponent(name), redirected, facts);
            if (redirected && !name.empty() && !BeginsWithNode(name) && HasNode(path, facts)) {
                path = Join(path, node);
            }
        }
        return path;
    }

    // Where a chain of links ends; the key itself if it is no link. Targets of links are not redirected.
    std::wstring Target(std::wstring path) {
        while (linksLeft > 0) {
            const auto target = facts.LinkTarget(path);
            if (!target) {
                break;
            }
            --linksLeft;
            path = Down(std::wstring(), *target, false);
        }
        return path;
    }

private:
    KeyFacts& facts;
    int linksLeft = mostLinks;
};

// The key of the 32-bit tree that corresponds to a key, or the key itself if none does. Links on the way lead
// out of the tree.
std::wstring CorrespondingNode(const std::wstring& path, KeyFacts& facts) {
    std::wstring above = path;
    std::wstring below;
    while (above.size() > 1) {
        if (HasNode(above, facts)) {
            const std::wstring inNode = Walk(facts).Down(Join(above, node), below, false);
            return facts.Exists(inNode) ? inNode : path;
        }
        const std::size_t last = above.rfind(L'\\');
        if (last == std::wstring::npos || EqualFolded(std::wstring_view(above).substr(last + 1), node)) {
            return path;
        }
        below.insert(0, above, last, std::wstring::npos);
        above.resize(last);
    }
    return path;
}

std::wstring StartingKey(const std::wstring& parent, std::wstring_view name, KeyView view, KeyFacts& facts) {
    if (!view.redirected || parent.empty() || BeginsWithNode(name)) {
        return parent;
    }
    const std::wstring inNode = CorrespondingNode(parent, facts);
    return view.asks32 || IsShared(inNode) ? inNode : parent;
}

// Where a redirected request is led to the shared node of the classes by a link, it gets the classes.
std::wstring LastTarget(Walk& walk, const std::wstring& path, bool redirected) {
    std::wstring target = walk.Target(path);
    return redirected && target != path && IsShared(target) ? ParentPath(target) : target;
}

} // namespace

std::wstring FindRealPath(const std::wstring& parent, std::wstring_view name, KeyView view, KeyFacts& facts) {
    Walk walk(facts);
    std::wstring path = walk.Down(StartingKey(parent, name, view, facts), name, view.redirected);
    if (!view.opensLink && !name.empty()) { // an empty name finds the link itself
        path = LastTarget(walk, path, view.redirected);
    }
    if (view.redirected && HasNode(path, facts) && !IsShared(Join(path, node))) {
        path = Join(path, node);
    }
    return path;
}

} // namespace keyreap
