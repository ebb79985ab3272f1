#pragma once

#include <map>
#include <string>
#include <vector>

namespace keyreap::endtoend {

// The whole registry but its volatile keys, as Wine's server saves it: both views, and one request a hive
// where a walk would make a hundred thousand, which a session with the request log pays for one by one.
class SavedRegistry {
public:
    using Values = std::map<std::wstring, std::wstring>; // by name, as saved

    SavedRegistry();

    // What the registry has now that it did not have then, and the other way round: one line for each key or
    // value, as "+ path", "- path" or, with another content, "! path [value]".
    std::vector<std::wstring> Changes() const;

private:
    void Read(const std::wstring& root, const std::string& text);

    std::map<std::wstring, Values> keys;
};

} // namespace keyreap::endtoend
