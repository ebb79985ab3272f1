#include "kit/batch/foundserver.h"
#include "kit/hostfiles.h"
#include "kit/refusal.h"
#include "kit/serversearch.h"

#include <algorithm>
#include <array>
#include <filesystem>
#include <fstream>
#include <set>
#include <span>
#include <system_error>

namespace keyreap {

namespace {

namespace fs = std::filesystem;

// Most files of a folder are no images, and aren't read.
bool MayBeServer(const fs::path& file) {
    std::array<char, 4> start{};
    std::ifstream stream(file, std::ios::binary);
    stream.read(start.data(), start.size());
    const std::string_view text(start.data(), static_cast<std::size_t>(stream.gcount()));
    return text.starts_with("MZ") || text == "MSFT";
}

bool IsTaken(const fs::path& file, bool takesPrograms) {
    if (!MayBeServer(file)) {
        return false;
    }
    const auto bytes = ReadWholeFile(file.string());
    if (!bytes) {
        return false;
    }
    const FoundServer found = FoundServerIn(std::as_bytes(std::span(*bytes)));
    return found == FoundServer::Yes || (found == FoundServer::Program && takesPrograms);
}

// The files in and below a folder, sorted.
std::vector<fs::path> FilesBelow(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (fs::recursive_directory_iterator entry(folder, fs::directory_options::skip_permission_denied, error),
         end;
         !error && entry != end; entry.increment(error)) {
        std::error_code unknown;
        if (entry->is_regular_file(unknown)) {
            files.push_back(entry->path());
        }
    }
    if (error) {
        throw Refusal(folder.string() + ": the folder can't be read");
    }
    std::ranges::sort(files);
    return files;
}

// Two words may lead to one file.
std::string RealName(const fs::path& file) {
    std::error_code error;
    const fs::path real = fs::weakly_canonical(file, error);
    return error ? FullName(file.string()) : real.string();
}

class Collection {
public:
    void Add(const fs::path& file, const std::string& place) {
        if (known.insert(RealName(file)).second) {
            servers.push_back({file.string(), {FullName(file.string()), place}});
        }
    }

    void AddFolder(const fs::path& folder, bool takesPrograms) {
        for (const fs::path& file : FilesBelow(folder)) {
            if (IsTaken(file, takesPrograms)) {
                Add(file, file.lexically_relative(folder).string());
            }
        }
    }

    std::vector<SearchedServer> servers;

private:
    std::set<std::string> known;
};

} // namespace

std::vector<SearchedServer> ServersOf(const std::vector<std::string>& words, bool takesPrograms) {
    Collection collection;
    for (const std::string& word : words) {
        std::error_code error;
        if (fs::is_directory(word, error)) {
            collection.AddFolder(word, takesPrograms);
        } else {
            collection.Add(word, FileNameOf(word));
        }
    }
    return collection.servers;
}

} // namespace keyreap
