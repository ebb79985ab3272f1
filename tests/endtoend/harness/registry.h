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

// Keys by their path relative to the key that was read ("" is that key itself), with their values.
using RegistryTree = std::map<std::wstring, RegistryValues>;

// A key and everything below it; empty if the key doesn't exist.
RegistryTree ReadTree(HKEY root, const std::wstring& path);
bool KeyExists(HKEY root, const std::wstring& path);
// The number of a key's values; 0 if the key doesn't exist.
DWORD CountValues(HKEY root, const std::wstring& path);
void CreateKey(HKEY root, const std::wstring& path);
void DeleteTree(HKEY root, const std::wstring& path);
// These two create the key if it doesn't exist.
void SetText(HKEY root, const std::wstring& path, const std::wstring& name, const std::wstring& text);
void SetValues(HKEY root, const std::wstring& path, const RegistryValues& values);

// Makes a key that leads to another one, by the other's complete name. It is gone with the session.
void LinkKey(HKEY root, const std::wstring& path, const std::wstring& target);

// The path of the current control set below HKEY_LOCAL_MACHINE in a saved hive: the numbered set that it
// leads to if it is a link, as on Windows, or its own path otherwise.
std::wstring RealControlSet();
bool CurrentControlSetIsLink();

RegistryValue TextValue(const std::wstring& text);
RegistryValue NumberValue(DWORD number);

// Everything that a run must not change: the current user's hive and the machine's software with its
// classes, in both views.
class MachineState {
public:
    MachineState();

    // The differences between then and now: "+ path" for a new key, "- path" for a removed one,
    // "! path [value]" for a value that is new, gone or different in a key that exists in both.
    std::vector<std::wstring> Changes() const;

private:
    RegistryTree keys;
};

} // namespace keyreap::endtoend
