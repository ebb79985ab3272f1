#pragma once

#include "tests/endtoend/harness/workbench.h"

#include <ostream>
#include <string>

namespace keyreap::endtoend {

// A build of the program and a mode. The captured server has the bitness of the build.
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
inline constexpr Way waysThatRedirect[] = {ways[0], ways[1], ways[3], ways[4]};
inline constexpr Way waysThatTrace[] = {ways[1], ways[2], ways[4], ways[5]};

void PrintTo(const Way& way, std::ostream* stream);
std::string NameOfWay(const testing::TestParamInfo<Way>& test);

// The whole command line of a run.
std::wstring LineOf(const Way& way, const std::wstring& file, const std::wstring& regFile);

// The result of a capture of the sample `plain`.
Bytes DocumentOfPlain(const Way& way);
// The result of a capture of `somevalues` or `manyvalues`, which write `count` values.
Bytes DocumentOfValues(const Way& way, int count);
inline constexpr int someValues = 1500;
inline constexpr int manyValues = 200'000;

} // namespace keyreap::endtoend
