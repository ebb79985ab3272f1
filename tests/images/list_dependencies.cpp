#include "pe/dependencywalker.h"
#include "platform/core/text/text.h"

#include <fstream>
#include <string>

// Usage: list_dependencies OUTPUT FILE...
// Writes for each FILE a line with its path, and for each of its dependencies a line that begins with a tab:
// the name, the path and the mark of a system file, separated by tabs. Everything is UTF-8.

namespace {

std::string Utf8(const std::wstring& text) {
    return keyreap::WideToMultiByte(text, 65001);
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    if (count < 3) {
        return 1;
    }
    std::ofstream output(Utf8(arguments[1]), std::ios::binary);
    for (int i = 2; i < count; ++i) {
        keyreap::DependencyList list;
        if (keyreap::DependencyWalker(arguments[i]).CollectDependencies(list) != 0) {
            return 1;
        }
        output << Utf8(arguments[i]) << '\n';
        for (const keyreap::DependencyRecord& record : list) {
            output << '\t' << Utf8(record.name) << '\t' << Utf8(record.path) << '\t' << record.isSystem
                   << '\n';
        }
    }
    output.flush();
    return output.good() ? 0 : 1;
}
