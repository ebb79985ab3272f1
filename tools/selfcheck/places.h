#pragma once

#include <filesystem>
#include <string>
#include <string_view>

namespace keyreap {

inline constexpr std::string_view bitnesses[] = {"x64", "x86"};

// The folders of the unpacked release, from that of this program.
struct Places {
    explicit Places(const std::filesystem::path& folder)
        : folder(folder), programs(folder.parent_path() / "bin"), tests(folder / "tests"),
          samples(folder / "samples"), golden(folder / "golden"), results(folder / "results"),
          logs(results / "logs") {}

    std::filesystem::path folder;
    std::filesystem::path programs; // x64\Keyreap.exe and x86\Keyreap.exe
    std::filesystem::path tests;
    std::filesystem::path samples;
    std::filesystem::path golden;
    std::filesystem::path results;
    std::filesystem::path logs; // what programs printed; this stays on the machine
};

// The content of a file; empty if it can't be read.
std::string ContentOf(const std::filesystem::path& file);

// The content of a golden file, with the paths of a captured file in it.
std::string GoldenOf(const Places& places, const std::string& name, const std::filesystem::path& captured);

} // namespace keyreap
