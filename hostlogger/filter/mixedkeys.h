#pragma once

#include "hostlogger/requesttracker.h"
#include "platform/core/text/compare.h"

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace keyreap {

// The keys that exist as far as a request log shows, by real paths.
class LoggedKeys : public KeyFacts {
public:
    bool Exists(const std::wstring& path) override { return keys.contains(FoldedText(path)); }
    std::optional<std::wstring> LinkTarget(const std::wstring&) override { return {}; }

    // Adds the keys above it, too.
    void Add(const std::wstring& path);
    void Remove(const std::wstring& path) { keys.erase(FoldedText(path)); }

private:
    std::unordered_set<std::wstring> keys; // A to Z folded
};

// Finds in the request log of Wine's server which keys the host mixed up. Wine redirects the path of a 32-bit
// process at any key that has a child Wow6432Node. Two cases matter:
//
// A server that writes both `Software\Wow6432Node\A` and `Software\A` where Windows has one view gets the
// first key for the second one. Windows has one view in the temporary tree, and in the live registry
// everywhere but below the machine's Software and the classes. What the server writes ends up under a name
// that it didn't use.
//
// A server that creates `Software\Wow6432Node\A\B` where the node exists and A doesn't gets a second node in
// the first one, both in the temporary tree and in the live registry: Wine 8 creates such a path level by
// level, and `Software` alone leads to the node. Wine 10 creates the right key.
//
// For 64-bit code that asks for the 32-bit view Wine's kernelbase goes the same way: it opens a child
// Wow6432Node of each key on the path, and goes on in it.
//
// A key counts as mixed up when the server got another key for its name and that had an effect: a key was
// created or found that would not have been, a value was written, deleted or found in it, or a key that
// exists was not found. Passing through such a key has no effect.
class MixedKeys : public KeyRequestListener {
public:
    // One line without its line break. Needs every line from the log's first one on.
    void Feed(std::string_view line) { tracker.Feed(line, this); }

    // The names that the server asked for (HKEY_LOCAL_MACHINE\Software\A), in the order in which they were
    // mixed up, without keys above other mixed up keys.
    std::vector<std::wstring> Names() const;

    void OnKeyRequest(const KeyRequest& request) override;
    void OnLostLines() override {}
    void OnMissingKey(const std::wstring&) override {}

private:
    // A key with the path that was asked for, which isn't the key's own.
    struct Asked {
        std::shared_ptr<const OpenKey> key;
        std::wstring path;
    };

    std::wstring AskedPath(const std::shared_ptr<const OpenKey>& key);
    bool EntersNode(const KeyRequest& request) const;
    void OnNamedKey(const KeyRequest& request);
    void OnNamedPath(const KeyRequest& request, const std::wstring& path);
    void OnMissedKey(const KeyRequest& request, const std::wstring& path);
    void OnUsedKey(const KeyRequest& request);
    void Report(const std::wstring& path);

    LoggedKeys keys;
    RequestTracker tracker{keys};
    std::unordered_map<const OpenKey*, Asked> elsewhere;
    std::unordered_set<std::shared_ptr<const OpenKey>> asked32; // by 64-bit code, in the 32-bit view
    std::unordered_set<std::wstring> written; // keys in which values were set, A to Z folded
    std::vector<std::wstring> names;
    std::unordered_set<std::wstring> named; // the names, A to Z folded
    std::unordered_set<std::wstring> above; // the keys above them, A to Z folded
};

// Whether a line of the log reports the creation of a Wow6432Node, or of a key in one, where Windows has
// none. Without such a line no key is mixed up.
bool MakesMixingNode(std::string_view line);

} // namespace keyreap
