#pragma once

#include <windows.h>

#include <memory>
#include <string>
#include <vector>

namespace keyreap {

// Notes each module that this process loads during the life of this object, also one that is unloaded again.
// On a system that doesn't report them it notes none.
class LoadedModules {
public:
    LoadedModules();
    ~LoadedModules();
    LoadedModules(const LoadedModules&) = delete;
    LoadedModules& operator=(const LoadedModules&) = delete;

    // The full paths of those below the Windows folder so far, each once, in the order of their loading.
    std::vector<std::wstring> OfWindows() const;

private:
    struct Record;
    std::unique_ptr<Record> record;
    void* cookie = nullptr;
};

} // namespace keyreap
