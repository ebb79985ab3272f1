#include "kit/batch/outputnames.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <map>

namespace keyreap {

namespace {

// How much of a server's name its capture's name has.
enum class NameLength : std::size_t { withoutEnding, whole, withOneFolder };

std::string WithoutEnding(const std::string& place) {
    const std::size_t point = place.rfind('.');
    const std::size_t start = place.rfind('/') + 1;
    return place.substr(0, point == std::string::npos || point <= start ? place.size() : point);
}

// The end of the server's name with `folders` more folders than its place has.
std::string WithFolders(const BatchServer& server, std::size_t folders) {
    std::size_t start = server.name.size() - std::min(server.name.size(), server.place.size());
    for (; folders > 0 && start > 1; --folders) {
        const std::size_t slash = server.name.rfind('/', start - 2);
        start = slash == std::string::npos ? 0 : slash + 1;
    }
    return server.name.substr(start);
}

// Nothing in it leads out of a folder.
std::string Inside(const std::string& path) {
    std::string inside;
    for (std::size_t start = 0; start <= path.size();) {
        const std::size_t end = std::min(path.find('/', start), path.size());
        const std::string part = path.substr(start, end - start);
        if (!part.empty() && part != ".") {
            inside += (inside.empty() ? "" : "/") + (part == ".." ? "_" : part);
        }
        start = end + 1;
    }
    return inside;
}

std::string NameOf(const BatchServer& server, std::size_t length) {
    if (length == static_cast<std::size_t>(NameLength::withoutEnding)) {
        return Inside(WithoutEnding(server.place)) + ".reg";
    }
    const std::size_t folders = length - static_cast<std::size_t>(NameLength::whole);
    return Inside(WithFolders(server, folders)) + ".reg";
}

// The longest names have all folders, and a number if that isn't enough ("a/b.dll" and "./a/b.dll").
void NumberEqual(std::vector<std::string>& names) {
    std::map<std::string, int> seen;
    for (std::string& name : names) {
        const int count = ++seen[FoldedBytes(name)];
        if (count > 1) {
            name = WithoutEnding(name).append(1, '.').append(std::to_string(count)).append(".reg");
        }
    }
}

} // namespace

std::vector<std::string> OutputNames(std::span<const BatchServer> servers) {
    std::vector<std::string> names(servers.size());
    std::vector<std::size_t> lengths(servers.size(), 0);
    constexpr std::size_t mostLengths = 64;
    bool isLonger = true;
    while (isLonger) {
        std::map<std::string, std::vector<std::size_t>> equal;
        for (std::size_t i = 0; i < servers.size(); ++i) {
            names[i] = NameOf(servers[i], lengths[i]);
            equal[FoldedBytes(names[i])].push_back(i);
        }
        isLonger = false;
        for (const auto& [name, places] : equal) {
            for (const std::size_t i : places) {
                if (places.size() > 1 && lengths[i] < mostLengths) {
                    ++lengths[i];
                    isLonger = true;
                }
            }
        }
    }
    NumberEqual(names);
    return names;
}

} // namespace keyreap
