#pragma once

#include "hostlogger/keylookup.h"

#include <map>
#include <optional>
#include <set>
#include <string>

namespace keyreap {

// A registry made of a list of keys and links, for tests of code that asks about real paths. Case matters.
class RegistryModel : public KeyFacts {
public:
    bool Exists(const std::wstring& path) override {
        ++questions;
        return keys.contains(path) || links.contains(path);
    }

    std::optional<std::wstring> LinkTarget(const std::wstring& path) override {
        const auto link = links.find(path);
        return link == links.end() ? std::nullopt : std::optional(link->second);
    }

    // Adds the keys above it, too.
    void Add(const std::wstring& path) {
        for (std::size_t end = path.find(L'\\', 1); end != std::wstring::npos;
             end = path.find(L'\\', end + 1)) {
            keys.insert(path.substr(0, end));
        }
        keys.insert(path);
    }

    void AddLink(const std::wstring& path, const std::wstring& target) { links[path] = target; }

    std::set<std::wstring> keys;
    std::map<std::wstring, std::wstring> links;
    int questions = 0;
};

// The keys that make the 32-bit view of a fresh machine.
inline RegistryModel MachineWithNodes() {
    RegistryModel model;
    model.Add(L"\\REGISTRY\\Machine\\Software\\Wow6432Node");
    model.Add(L"\\REGISTRY\\Machine\\Software\\Classes\\Wow6432Node\\CLSID");
    model.Add(L"\\REGISTRY\\Machine\\Software\\Classes\\CLSID");
    model.AddLink(L"\\REGISTRY\\Machine\\Software\\Wow6432Node\\Classes",
                  L"\\REGISTRY\\Machine\\Software\\Classes\\Wow6432Node");
    return model;
}

} // namespace keyreap
