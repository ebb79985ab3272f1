#pragma once

#include "kit/capture/piecetext.h"

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

// The forms in which a path of the build machine is in registry data: in any case, with slashes of either
// kind, after \\?\ or file:///, with short names (8.3), with arguments or a resource's number after it, as a
// file's name alone.
namespace keyreap {

struct CapturedPath {
    std::wstring path; // a full path of Windows
    bool isFile = false;
    Piece piece; // what the installer has in its place
};

class PathForms {
public:
    // Of two paths that fit, the longer one is taken.
    explicit PathForms(std::vector<CapturedPath> paths);

    // The text with all paths replaced. \\?\ before one is dropped, since it is for long paths alone.
    PieceText Replaced(std::wstring_view text);

    // The same for data that are a file's place: the whole text, up to arguments or a number, may be the name
    // of a file alone.
    PieceText ReplacedPlace(std::wstring_view text);

    // True if data without a form of their own contain one of the paths, in UTF-16 or in 8-bit characters.
    bool AreIn(const std::vector<std::uint8_t>& data) const;

    // The paths that were in no text.
    std::vector<std::wstring> NotFound() const;

private:
    struct Match {
        std::size_t path = 0;
        std::size_t end = 0;
        std::wstring kept; // the part before the path that stays
    };

    std::optional<Match> MatchAt(std::wstring_view text, std::size_t at) const;
    std::optional<Match> BareNameAt(std::wstring_view text, std::size_t at) const;
    bool IsIn(std::wstring_view text) const;
    void Append(PieceText& pieces, const Match& match);

    std::vector<CapturedPath> paths;
    std::vector<std::vector<std::wstring>> names; // of each path
    std::wstring firstUnits;                      // with which a path can begin, folded
    std::vector<bool> found;
};

// The first absolute path in a text; empty without one.
std::wstring AbsolutePathIn(std::wstring_view text);

// True if a name such as PROGRA~1 may be the short form of a longer one.
bool MayBeShortNameOf(std::wstring_view shortName, std::wstring_view name);

} // namespace keyreap
