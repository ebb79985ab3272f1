#include "hostlogger/filter/mixedkeys.h"

#include "etl/registryevent.h"
#include "hostlogger/requestwords.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view node = L"Wow6432Node";
constexpr std::wstring_view registry = L"\\REGISTRY";
constexpr std::wstring_view users = L"\\REGISTRY\\User\\";
constexpr std::wstring_view ordinaryUsers = L"\\REGISTRY\\User\\S-1-5-21-";
constexpr std::wstring_view tree = L"\\Software\\Velmoro\\Tesselink\\Temporary\\";

constexpr std::array<std::pair<std::wstring_view, std::wstring_view>, 4> roots{{
    {L"HKCR", L"HKEY_CLASSES_ROOT"},
    {L"HKCU", L"HKEY_CURRENT_USER"},
    {L"HKU", L"HKEY_USERS"},
    {L"HKLM", L"HKEY_LOCAL_MACHINE"},
}};

constexpr std::array<std::pair<std::wstring_view, std::wstring_view>, 2> liveRoots{{
    {L"\\REGISTRY\\Machine", L"HKEY_LOCAL_MACHINE"},
    {L"\\REGISTRY\\User", L"HKEY_USERS"},
}};

bool IsAtOrBelow(std::wstring_view path, std::wstring_view above) {
    return StartsWithFolded(path, above) && (path.size() == above.size() || path[above.size()] == L'\\');
}

// What follows the key of a user's hive; empty for a key outside of the hives.
std::wstring_view BelowUser(std::wstring_view path) {
    return StartsWithFolded(path, users) ? path.substr(std::min(path.find(L'\\', users.size()), path.size()))
                                         : std::wstring_view();
}

// What follows the path of the temporary tree; empty for a key outside of it.
std::wstring_view InTree(std::wstring_view path) {
    path = BelowUser(path);
    return StartsWithFolded(path, tree) ? path.substr(tree.size()) : std::wstring_view();
}

// Whether Windows has a view for each bitness at this key, too. What a 32-bit process gets below its node is
// the key that it means there.
bool HasTwoViews(std::wstring_view path) {
    return EqualFolded(path, L"\\REGISTRY\\Machine\\Software") ||
           EqualFolded(path, L"\\REGISTRY\\Machine\\Software\\Classes") ||
           EqualFolded(BelowUser(path), L"\\Software\\Classes");
}

// Appends the components of a name, each after one backslash.
std::wstring Joined(std::wstring path, std::wstring_view name) {
    while (!name.empty()) {
        const std::size_t end = std::min(name.find(L'\\'), name.size());
        if (end > 0) {
            path.append(1, L'\\').append(name.substr(0, end));
        }
        name.remove_prefix(std::min(end + 1, name.size()));
    }
    return path;
}

// The Wow6432Node components of a path.
struct Nodes {
    std::size_t all = 0;
    std::size_t foreign = 0; // where Windows has none
    bool doubled = false;    // one is directly below another
};

Nodes NodesIn(std::wstring_view path) {
    Nodes nodes;
    bool previous = false;
    for (std::size_t begin = path.find(L'\\'); begin < path.size();) {
        const std::size_t end = std::min(path.find(L'\\', begin + 1), path.size());
        const bool isNode = EqualFolded(path.substr(begin + 1, end - begin - 1), node);
        nodes.all += isNode ? 1U : 0U;
        nodes.foreign += isNode && !HasTwoViews(path.substr(0, begin)) ? 1U : 0U;
        nodes.doubled = nodes.doubled || (isNode && previous);
        previous = isNode;
        begin = end;
    }
    return nodes;
}

bool IsElsewhere(std::wstring_view realPath, std::wstring_view path) {
    return NodesIn(realPath).all > NodesIn(path).all;
}

bool IsPastANode(std::wstring_view realPath, std::wstring_view path) {
    return NodesIn(realPath).foreign > NodesIn(path).foreign;
}

bool IsInASecondNode(std::wstring_view realPath, std::wstring_view path) {
    return NodesIn(realPath).doubled && !NodesIn(path).doubled;
}

// The name by which people know a key. A key of the temporary tree has the name of the key that it
// represents.
std::wstring NameOf(const std::wstring& path) {
    const std::wstring_view inTree = InTree(path);
    for (const auto& [child, root] : roots) {
        if (IsAtOrBelow(inTree, child)) {
            return std::wstring(root).append(inTree.substr(child.size()));
        }
    }
    if (StartsWithFolded(path, ordinaryUsers)) {
        return std::wstring(L"HKEY_CURRENT_USER").append(BelowUser(path));
    }
    for (const auto& [start, root] : liveRoots) {
        if (IsAtOrBelow(path, start)) {
            return std::wstring(root).append(path.substr(start.size()));
        }
    }
    return path;
}

} // namespace

void LoggedKeys::Add(const std::wstring& path) {
    std::wstring key = FoldedText(path);
    while (!key.empty() && keys.insert(key).second) {
        key.resize(std::min(key.rfind(L'\\'), key.size()));
    }
}

void MixedKeys::OnKeyRequest(const KeyRequest& request) {
    if (request.type == registryevent::createKey || request.type == registryevent::openKey) {
        OnNamedKey(request);
    } else if (request.key) {
        OnUsedKey(request);
    }
}

std::wstring MixedKeys::AskedPath(const std::shared_ptr<const OpenKey>& key) {
    if (!key) {
        return {};
    }
    const auto found = elsewhere.find(key.get());
    return found == elsewhere.end() ? key->Path(keys) : found->second.path;
}

// Whether this is kernelbase's own opening of a node.
bool MixedKeys::EntersNode(const KeyRequest& request) const {
    return request.type == registryevent::openKey && EqualFolded(request.name, node) &&
           asked32.contains(request.parent);
}

void MixedKeys::OnNamedKey(const KeyRequest& request) {
    if (EntersNode(request)) {
        if (request.key) {
            elsewhere[request.key.get()] = {request.key, AskedPath(request.parent)};
        }
        return;
    }
    if (request.key && request.machine != machineI386 && request.view.asks32) {
        asked32.insert(request.key);
    }
    OnNamedPath(request, Joined(AskedPath(request.parent), request.name));
}

void MixedKeys::OnNamedPath(const KeyRequest& request, const std::wstring& path) {
    if (!request.key) {
        OnMissedKey(request, path);
        return;
    }
    const std::wstring& realPath = request.key->Path(keys);
    const bool existed = keys.Exists(realPath);
    keys.Add(realPath);
    // After lost lines the parent may be unknown, and so the path that was asked for.
    if (!IsAtOrBelow(path, registry)) {
        return;
    }
    if (IsElsewhere(realPath, path)) {
        elsewhere[request.key.get()] = {request.key, path};
    }
    if (!IsPastANode(realPath, path)) {
        return;
    }
    if (IsInASecondNode(realPath, path) || !existed || !keys.Exists(path)) {
        Report(path);
    }
}

void MixedKeys::OnMissedKey(const KeyRequest& request, const std::wstring& path) {
    if (request.type == registryevent::openKey && keys.Exists(path)) {
        const std::wstring parent = request.parent ? request.parent->Path(keys) : std::wstring();
        if (IsPastANode(FindRealPath(parent, request.name, request.view, keys), path)) {
            Report(path);
        }
    }
}

void MixedKeys::OnUsedKey(const KeyRequest& request) {
    const std::wstring path = AskedPath(request.key);
    const std::wstring& realPath = request.key->Path(keys);
    const bool sees = request.type == registryevent::queryValue;
    const bool changes =
        request.type == registryevent::setValue || request.type == registryevent::deleteValue ||
        request.type == registryevent::deleteKey || request.type == registryevent::setInformation;
    const bool succeeds = request.status == 0;
    const bool misses = sees && written.contains(FoldedText(path));
    if (IsPastANode(realPath, path) && (misses || ((sees || changes) && succeeds))) {
        Report(path);
    }
    if (succeeds && request.type == registryevent::setValue) {
        written.insert(FoldedText(realPath));
    } else if (succeeds && request.type == registryevent::deleteKey) {
        keys.Remove(realPath);
        written.erase(FoldedText(realPath));
    }
}

void MixedKeys::Report(const std::wstring& path) {
    const std::wstring name = NameOf(path);
    std::wstring folded = FoldedText(name);
    if (!named.insert(folded).second) {
        return;
    }
    names.push_back(name);
    for (std::size_t end = folded.rfind(L'\\'); end != std::wstring::npos; end = folded.rfind(L'\\')) {
        folded.resize(end);
        above.insert(folded);
    }
}

std::vector<std::wstring> MixedKeys::Names() const {
    std::vector<std::wstring> lowest;
    for (const std::wstring& name : names) {
        if (!above.contains(FoldedText(name))) {
            lowest.push_back(name);
        }
    }
    return lowest;
}

bool MakesMixingNode(std::string_view line) {
    if (!line.starts_with(requestword::createdKey)) {
        return false;
    }
    const std::wstring path = L'\\' + UnescapeServerText(line.substr(requestword::createdKey.size()));
    return NodesIn(path).foreign > 0;
}

} // namespace keyreap
