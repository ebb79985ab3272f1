#pragma once

#include "tools/box/boxwords.h"

#include <map>
#include <string>
#include <vector>

namespace keyreap {

// Folders that hold so much else that an input in them brings only itself and the modules beside it: the
// root, the shared folders of temporary files, each user's home folder, and all folders above these.
class WideFolders {
public:
    // `users` is the text of a file like /etc/passwd; `home` is the caller's own home folder, or empty.
    WideFolders(const std::string& users, const std::string& home);

    bool Has(const std::string& folder) const;

private:
    void Add(std::string folder);

    std::vector<std::string> folders;
};

// What of the host is in the box, and under which paths: words for bwrap. A path and the path to which its
// links lead are both there, and mean the same.
class BoxPlaces {
public:
    explicit BoxPlaces(WideFolders wideFolders) : wideFolders(std::move(wideFolders)) {}

    // The folder of this file, read-only.
    void AddInput(const std::string& file);
    // A file or folder, read-only; nothing if it doesn't exist.
    void See(const std::string& path);
    // A file or folder that can be changed; nothing if it doesn't exist.
    void Change(const std::string& path);
    // Something else at this path.
    void Put(const std::string& path, std::vector<std::string> words);

    // A folder comes before what is inside of it.
    std::vector<std::string> Words() const;

private:
    void Bind(const std::string& option, const std::string& path);
    bool IsInsideOfSeen(const std::string& path) const;

    WideFolders wideFolders;
    // Path by path, in the order of their parts. What can be changed isn't covered by what can't.
    std::map<std::vector<std::string>, std::vector<std::string>> places;
    std::vector<std::pair<std::string, std::string>> aliases; // the path, and where it leads
    std::vector<std::string> seenFolders;
};

} // namespace keyreap
