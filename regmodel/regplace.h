#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

// Where a key is, apart from how its path is spelled. The classes have several paths, and each 32-bit view
// one more: the component Wow6432Node, which isn't part of the path here. Names are compared with A to Z
// folded.
namespace keyreap {

enum class RegHive { ClassesRoot, CurrentUser, LocalMachine, Users, CurrentConfig, Unknown };

enum class RegView {
    Plain,   // without Wow6432Node: the view of the writer's own bitness
    Wow6432, // the 32-bit view, named as such
};

enum class RegArea {
    Classes,  // HKEY_CLASSES_ROOT or Software\Classes
    Software, // Software without its classes
    Other,
};

// The part of the registry that a path is in.
struct RegScope {
    RegHive hive = RegHive::Unknown;
    RegView view = RegView::Plain;
    RegArea area = RegArea::Other;
    std::wstring user; // in HKEY_USERS: the name below it, folded

    friend auto operator<=>(const RegScope&, const RegScope&) = default;
};

struct RegPlace {
    RegScope scope;
    std::vector<std::wstring> names; // below the area, in the file's spelling
};

// An unknown root is part of the names.
RegPlace PlaceOf(std::wstring_view keyPath);

// True for a GUID in braces.
bool IsGuidText(std::wstring_view text);

} // namespace keyreap
