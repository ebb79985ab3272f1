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

// The keys that a request log names, as far as it shows that they are there, by real paths.
class LoggedKeys : public KeyFacts {
public:
    bool Exists(const std::wstring& path) override { return keys.contains(FoldedText(path)); }
    std::optional<std::wstring> LinkTarget(const std::wstring&) override { return {}; }

    // With those above it.
    void Add(const std::wstring& path);
    void Remove(const std::wstring& path) { keys.erase(FoldedText(path)); }

private:
    std::unordered_set<std::wstring> keys; // A to Z folded
};

// Finds in the request log of Wine's server which keys the host mixed up. Wine sends a 32-bit process's path
// through any key that has a child Wow6432Node, in two ways that matter:
//
// A server that writes both `Software\Wow6432Node\A` and `Software\A` where the views don't part on Windows,
// that is into the temporary tree, and in the live registry anywhere but below the machine's Software and the
// classes, gets the first key for the second one. What it writes is found under a name that it didn't mean.
//
// A server that makes `Software\Wow6432Node\A\B` where a node is there and A isn't gets a second node in the
// first one, in the temporary tree as in the live registry: Wine makes such a path level by level, and
// `Software` by itself leads to the node.
//
// A key counts as mixed up when the server got another one for its name and something came of
// that: a key was made or found that would not have been, a value was written, deleted or found in it, or a
// key that is there wasn't found. To pass through such a key is nothing.
class MixedKeys : public KeyRequestListener {
public:
    // One line without its end, from the log's first one on.
    void Feed(std::string_view line) { tracker.Feed(line, this); }

    // The names that the server asked for (HKEY_LOCAL_MACHINE\Software\A), in the order in which they were
    // mixed up, without those above another one of them.
    std::vector<std::wstring> Names() const;

    void OnKeyRequest(const KeyRequest& request) override;
    void OnLostLines() override {}
    void OnMissingKey(const std::wstring&) override {}

private:
    // A key with the path by which it was asked for, where that isn't its own.
    struct Asked {
        std::shared_ptr<const OpenKey> key;
        std::wstring path;
    };

    std::wstring AskedPath(const std::shared_ptr<const OpenKey>& key);
    void OnNamedKey(const KeyRequest& request);
    void OnMissedKey(const KeyRequest& request, const std::wstring& path);
    void OnUsedKey(const KeyRequest& request);
    void Report(const std::wstring& path);

    LoggedKeys keys;
    RequestTracker tracker{keys};
    std::unordered_map<const OpenKey*, Asked> elsewhere;
    std::unordered_set<std::wstring> written; // keys in which values were set, A to Z folded
    std::vector<std::wstring> names;
    std::unordered_set<std::wstring> named; // the same, A to Z folded
    std::unordered_set<std::wstring> above; // what lies above them, likewise
};

// Whether a line of the log reports that a Wow6432Node was made, or a key in one, where Windows has none.
// Without such a line no key is mixed up.
bool MakesMixingNode(std::string_view line);

} // namespace keyreap
