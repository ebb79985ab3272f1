#pragma once

#include <gtest/gtest.h>

#include <map>
#include <string>
#include <vector>

namespace keyreap::endtoend {

// The whole registry without its volatile keys, in both views, as Wine's server saves it. That takes one
// request for each hive; enumerating the keys would take a hundred thousand, each of them recorded where the
// session has a request log.
class SavedRegistry {
public:
    using Values = std::map<std::wstring, std::wstring>; // by name, as saved

    SavedRegistry();

    // The differences between then and now: "+ path" for a new key, "- path" for a removed one,
    // "! path [value]" for a value that is new, gone or different in a key that exists in both.
    std::vector<std::wstring> Changes() const;

    // Whether exactly these differences exist. At a strict host there are also those that are listed for the
    // test.
    testing::AssertionResult Changed(const std::vector<std::wstring>& expected) const;

private:
    void Read(const std::wstring& root, const std::string& text);

    std::map<std::wstring, Values> keys;
};

} // namespace keyreap::endtoend
