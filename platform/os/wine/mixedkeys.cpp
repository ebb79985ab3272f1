#include "platform/os/wine/mixedkeys.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <utility>

#include "platform/os/registryevent.h"

namespace keyreap {

namespace {

constexpr std::wstring_view node = L"Wow6432Node";
constexpr std::wstring_view users = L"\\REGISTRY\\User\\";
constexpr std::wstring_view tree = L"\\Software\\Velmoro\\Tesselink\\Temporary\\";

constexpr std::array<std::pair<std::wstring_view, std::wstring_view>, 4> roots{{
    {L"HKCR", L"HKEY_CLASSES_ROOT"},
    {L"HKCU", L"HKEY_CURRENT_USER"},
    {L"HKU", L"HKEY_USERS"},
    {L"HKLM", L"HKEY_LOCAL_MACHINE"},
}};

bool BeginsWith(std::wstring_view text, std::wstring_view prefix) {
    return SameKeyText(text.substr(0, prefix.size()), prefix);
}

bool IsAtOrBelow(std::wstring_view path, std::wstring_view above) {
    return BeginsWith(path, above) && (path.size() == above.size() || path[above.size()] == L'\\');
}

// What follows the tree's own path; empty for a key outside of it.
std::wstring_view InTree(std::wstring_view path) {
    if (!BeginsWith(path, users)) {
        return {};
    }
    path.remove_prefix(std::min(path.find(L'\\', users.size()), path.size()));
    return BeginsWith(path, tree) ? path.substr(tree.size()) : std::wstring_view();
}

// Appends the components of a name, each with one backslash ahead of it.
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

std::size_t CountNodes(std::wstring_view path) {
    std::size_t nodes = 0;
    while (!path.empty()) {
        const std::size_t end = std::min(path.find(L'\\'), path.size());
        nodes += SameKeyText(path.substr(0, end), node) ? 1U : 0U;
        path.remove_prefix(std::min(end + 1, path.size()));
    }
    return nodes;
}

bool IsPastANode(std::wstring_view realPath, std::wstring_view path) {
    return CountNodes(realPath) > CountNodes(path);
}

// The name that stands for a key of the tree.
std::wstring NameOf(const std::wstring& path) {
    const std::wstring_view inTree = InTree(path);
    for (const auto& [child, root] : roots) {
        if (IsAtOrBelow(inTree, child)) {
            return std::wstring(root).append(inTree.substr(child.size()));
        }
    }
    return std::wstring(inTree);
}

} // namespace

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

void MixedKeys::OnNamedKey(const KeyRequest& request) {
    const std::wstring path = Joined(AskedPath(request.parent), request.name);
    if (InTree(path).empty()) {
        return;
    }
    if (!request.key) {
        OnMissedKey(request, path);
        return;
    }
    const std::wstring& realPath = request.key->Path(keys);
    const bool wasThere = keys.Exists(realPath);
    keys.Add(realPath);
    if (IsPastANode(realPath, path)) {
        elsewhere[request.key.get()] = {request.key, path};
        if (!wasThere || !keys.Exists(path)) {
            Report(path);
        }
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
    const bool sees = request.type == registryevent::queryValue;
    const bool changes =
        request.type == registryevent::setValue || request.type == registryevent::deleteValue ||
        request.type == registryevent::deleteKey || request.type == registryevent::setInformation;
    const bool succeeds = request.status == 0;
    const bool isElsewhere = elsewhere.contains(request.key.get());
    if (isElsewhere && ((sees && written.contains(FoldedKeyText(path))) || ((sees || changes) && succeeds))) {
        Report(path);
    }
    const std::wstring& realPath = request.key->Path(keys);
    if (succeeds && request.type == registryevent::setValue && !InTree(realPath).empty()) {
        written.insert(FoldedKeyText(realPath));
    } else if (succeeds && request.type == registryevent::deleteKey) {
        keys.Remove(realPath);
        written.erase(FoldedKeyText(realPath));
    }
}

void MixedKeys::Report(const std::wstring& path) {
    const std::wstring name = NameOf(path);
    const std::wstring folded = FoldedKeyText(name);
    for (std::size_t end = folded.size(); end != std::wstring::npos && end != 0;
         end = folded.rfind(L'\\', end - 1)) {
        if (named.contains(folded.substr(0, end))) {
            return;
        }
    }
    named.insert(folded);
    names.push_back(name);
}

bool MakesNodeInTree(std::string_view line) {
    static constexpr std::string_view making = "Create key ";
    if (!line.starts_with(making)) {
        return false;
    }
    const std::wstring path = L'\\' + UnescapeServerText(line.substr(making.size()));
    return CountNodes(InTree(path)) > 0;
}

} // namespace keyreap
