#pragma once

#include <windows.h>

#include <map>
#include <ostream>
#include <string>
#include <tuple>
#include <vector>

namespace keyreap::endtoend {

struct RegistryValue {
    DWORD type = 0;
    std::vector<unsigned char> data;

    bool operator==(const RegistryValue&) const = default;
};

void PrintTo(const RegistryValue& value, std::ostream* stream);

using RegistryValues = std::map<std::wstring, RegistryValue>;

// Keys by their path, relative to where the reading began ("" is that key itself), with their values.
using RegistryTree = std::map<std::wstring, RegistryValues>;

// All that lies below a key, the key included; empty if there is no such key.
RegistryTree ReadTree(HKEY root, const std::wstring& path);
bool KeyExists(HKEY root, const std::wstring& path);
// How many values a key has; none if there is no such key.
DWORD CountValues(HKEY root, const std::wstring& path);
void CreateKey(HKEY root, const std::wstring& path);
void DeleteTree(HKEY root, const std::wstring& path);
// Creates the key if need be.
void SetText(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& text);
void SetValues(HKEY root, const std::wstring& path, const RegistryValues& values);

RegistryValue TextValue(const std::wstring& text);
RegistryValue NumberValue(DWORD number);

// Everything that a run may not change: the current user's hive and the machine's software, classes
// included, in both views.
class MachineState {
public:
    MachineState();

    // What the machine has now that it did not have then, and the other way round: one line for each key or
    // value, as "+ path", "- path" or, with another content, "! path [value]".
    std::vector<std::wstring> Changes() const;

private:
    RegistryTree keys;
};

} // namespace keyreap::endtoend
