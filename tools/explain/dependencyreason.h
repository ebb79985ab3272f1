#pragma once

#include "pe/dependencywalker.h"
#include "pe/importtables.h"
#include "platform/os/file/widepath.h"

#include <cstdint>
#include <string>
#include <vector>

namespace keyreap {

// The files that a loader loads with a file: the DLLs that the walk over dependencies found, as far as linked
// imports lead to them. Delay-loaded DLLs don't count, since a file can be loaded without them. Nothing is
// loaded here.
class LoadChain {
public:
    explicit LoadChain(const WidePath& file);

    // What is wrong with the chain, such as "needs foo.dll, which is nowhere; wanted by bar.dll". Empty if
    // nothing is wrong.
    const std::wstring& Reason() const { return reason.empty() ? missingFunction : reason; }

    // The files outside the system, each after the files that it needs; the file itself is the last.
    const std::vector<std::wstring>& Files() const { return files; }

private:
    void Enter(const std::wstring& path);
    void Judge(const std::wstring& importer, std::uint16_t machine, const ImportedDll& dll);
    const DependencyRecord* Find(const std::wstring& name) const;

    DependencyList list;
    std::vector<std::wstring> entered;
    std::vector<std::wstring> files;
    std::wstring reason;
    std::wstring missingFunction; // a weaker reason: Wine loads such a file, and ends it at the call
};

} // namespace keyreap
