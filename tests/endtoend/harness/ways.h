#pragma once

#include "tests/endtoend/harness/workbench.h"

#include <ostream>
#include <string>

namespace keyreap::endtoend {

// A build in a mode, with the server that it captures being of its own bitness.
struct Way {
    Bitness build;
    const wchar_t* mode;

    bool IsTraced() const { return std::wstring(mode) != L"keyRedir"; }
    bool IsRedirected() const { return std::wstring(mode) != L"trace"; }
};

inline constexpr Way ways[] = {
    {Bitness::x64, L"keyRedir"}, {Bitness::x64, L"both"}, {Bitness::x64, L"trace"},
    {Bitness::x86, L"keyRedir"}, {Bitness::x86, L"both"}, {Bitness::x86, L"trace"},
};

void PrintTo(const Way& way, std::ostream* stream);
std::string NameOfWay(const Way& way);

// The whole command line of a run.
std::wstring LineOf(const Way& way, const std::wstring& file, const std::wstring& regFile);

// What samples give: `plain`, and `somevalues` or `manyvalues` with so many values.
Bytes DocumentOfPlain(const Way& way);
Bytes DocumentOfValues(const Way& way, int count);
inline constexpr int someValues = 1500;
inline constexpr int manyValues = 200'000;

} // namespace keyreap::endtoend
