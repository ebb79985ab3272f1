#pragma once

#include <string>

namespace keyreap::testsupport {

// Sets a variable of this process's environment for the life of the object.
class EnvironmentChange {
public:
    EnvironmentChange(const std::wstring& name, const std::wstring& value);
    EnvironmentChange(const EnvironmentChange&) = delete;
    EnvironmentChange& operator=(const EnvironmentChange&) = delete;
    ~EnvironmentChange();

private:
    std::wstring name;
    std::wstring former;
    bool existed;
};

// Makes a folder the current one for the life of the object.
class CurrentFolder {
public:
    explicit CurrentFolder(const std::wstring& folder);
    CurrentFolder(const CurrentFolder&) = delete;
    CurrentFolder& operator=(const CurrentFolder&) = delete;
    ~CurrentFolder();

private:
    std::wstring former;
};

} // namespace keyreap::testsupport
