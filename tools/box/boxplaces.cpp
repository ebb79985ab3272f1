#include "tools/box/boxplaces.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <sstream>
#include <string_view>

namespace keyreap {
namespace {

namespace fs = std::filesystem;

// What a server may load or read from its own folder.
constexpr std::array<std::string_view, 10> moduleEndings = {".dll", ".ocx", ".exe", ".tlb",      ".olb",
                                                            ".ax",  ".cpl", ".drv", ".manifest", ".config"};

constexpr std::size_t mostModules = 1000; // bwrap takes 9000 words

std::vector<std::string> PartsOf(const std::string& path) {
    std::vector<std::string> parts;
    for (const fs::path& part : fs::path(path)) {
        if (part != "/" && !part.empty()) {
            parts.push_back(part.string());
        }
    }
    return parts;
}

bool IsAbove(const std::string& folder, const std::string& path) {
    const std::vector<std::string> upper = PartsOf(folder);
    const std::vector<std::string> lower = PartsOf(path);
    return upper.size() < lower.size() && std::equal(upper.begin(), upper.end(), lower.begin());
}

bool IsModuleName(std::string name) {
    std::transform(name.begin(), name.end(), name.begin(), [](char unit) {
        return unit >= 'A' && unit <= 'Z' ? static_cast<char>(unit - 'A' + 'a') : unit;
    });
    return std::any_of(moduleEndings.begin(), moduleEndings.end(),
                       [&](std::string_view ending) { return name.ends_with(ending); });
}

// The ordinary files among the modules of a folder. A link may lead to what nobody may see.
std::vector<std::string> ModulesIn(const std::string& folder) {
    std::vector<std::string> modules;
    std::error_code error;
    for (fs::directory_iterator entry(folder, error), end;
         !error && entry != end && modules.size() < mostModules; entry.increment(error)) {
        std::error_code unknown;
        if (IsModuleName(entry->path().filename().string()) &&
            entry->symlink_status(unknown).type() == fs::file_type::regular) {
            modules.push_back(entry->path().string());
        }
    }
    return modules;
}

} // namespace

WideFolders::WideFolders(const std::string& users, const std::string& home) {
    for (const char* folder : {"/tmp", "/var/tmp", "/dev/shm", "/run/user"}) {
        Add(folder);
    }
    Add(home);
    std::istringstream lines(users);
    for (std::string line; std::getline(lines, line);) {
        std::istringstream fields(line);
        std::string field;
        for (int number = 0; number < 6 && std::getline(fields, field, ':'); number++) {
            if (number == 5) {
                Add(field);
            }
        }
    }
}

void WideFolders::Add(std::string folder) {
    if (folder.starts_with('/')) {
        std::error_code error;
        const fs::path real = fs::canonical(folder, error);
        if (!error) {
            folders.push_back(real.string());
        }
        folders.push_back(std::move(folder));
    }
}

bool WideFolders::Has(const std::string& folder) const {
    const std::vector<std::string> parts = PartsOf(folder);
    if (parts.size() <= 1 || (parts.size() == 2 && parts.front() == "home")) {
        return true;
    }
    return std::any_of(folders.begin(), folders.end(), [&](const std::string& wide) {
        return PartsOf(wide) == PartsOf(folder) || IsAbove(folder, wide);
    });
}

void BoxPlaces::AddInput(const std::string& file) {
    const std::string folder = fs::path(file).parent_path().string();
    std::error_code error;
    const fs::path real = fs::canonical(folder, error);
    if (!wideFolders.Has(folder) && (error || !wideFolders.Has(real.string()))) {
        See(folder);
    } else {
        for (const std::string& module : ModulesIn(folder)) {
            // It may be gone when the box begins.
            Bind("--ro-bind-try", module);
        }
    }
    // The folder may have no more than a link to it.
    See(file);
}

void BoxPlaces::See(const std::string& path) {
    Bind("--ro-bind", path);
}

void BoxPlaces::Change(const std::string& path) {
    Bind("--bind", path);
}

void BoxPlaces::Put(const std::string& path, std::vector<std::string> words) {
    places[PartsOf(path)] = std::move(words);
}

void BoxPlaces::Bind(const std::string& option, const std::string& path) {
    std::error_code error;
    const std::string real = fs::canonical(path, error).string();
    if (error) {
        return;
    }
    std::vector<std::string>& place = places[PartsOf(real)];
    if (place.empty() || option == "--bind") {
        place = {option, real, real};
    }
    if (fs::is_directory(real, error)) {
        seenFolders.push_back(real);
    }
    const std::string plain = fs::path(path).lexically_normal().string();
    if (PartsOf(plain) != PartsOf(real)) {
        aliases.emplace_back(plain, real);
    }
}

bool BoxPlaces::IsInsideOfSeen(const std::string& path) const {
    return std::any_of(seenFolders.begin(), seenFolders.end(),
                       [&](const std::string& folder) { return IsAbove(folder, path); });
}

std::vector<std::string> BoxPlaces::Words() const {
    auto all = places;
    for (const auto& [path, real] : aliases) {
        // In a folder that is seen the link itself is there.
        if (!IsInsideOfSeen(path)) {
            std::vector<std::string> words = all.at(PartsOf(real));
            words.back() = path;
            all.emplace(PartsOf(path), words);
        }
    }
    std::vector<std::string> result;
    for (const auto& [parts, words] : all) {
        result.insert(result.end(), words.begin(), words.end());
    }
    return result;
}

} // namespace keyreap
