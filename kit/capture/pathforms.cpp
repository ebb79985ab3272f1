#include "kit/capture/pathforms.h"

#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"
#include "regmodel/regentry.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::wstring_view longPath = L"\\\\?\\";
constexpr std::wstring_view longShare = L"\\\\?\\UNC\\";
constexpr std::wstring_view share = L"\\\\";
constexpr std::wstring_view fileUrl = L"file:///";
constexpr std::wstring_view shareUrl = L"file://";

// What can follow a file's name, beside the end: an argument, a resource's number, another path.
constexpr std::wstring_view afterFile = L"\"\t\r\n ,;'|\\/?*<>#&)";
// A folder's name may go on after a blank.
constexpr std::wstring_view afterFolder = L"\"\t\r\n,;'|\\/*<>)";

// Of a short name, with a dot between them.
constexpr std::size_t longestStem = 8;
constexpr std::size_t longestExtension = 3;
constexpr std::size_t longestShortName = longestStem + 1 + longestExtension;

bool IsOneOf(wchar_t unit, std::wstring_view set) {
    return set.find(unit) != std::wstring_view::npos;
}

bool IsSeparator(wchar_t unit) {
    return unit == L'\\' || unit == L'/';
}

bool IsDigit(wchar_t unit) {
    return unit >= L'0' && unit <= L'9';
}

bool IsLetter(wchar_t unit) {
    return FoldLetter(unit) >= L'a' && FoldLetter(unit) <= L'z';
}

bool IsDriveAt(std::wstring_view text, std::size_t at) {
    return text.size() > at + 2 && IsLetter(text[at]) && text[at + 1] == L':' && IsSeparator(text[at + 2]);
}

bool IsWordBefore(std::wstring_view text, std::size_t at) {
    return at > 0 && (IsLetter(text[at - 1]) || IsDigit(text[at - 1]));
}

// A place in a text, which may be a URL.
class Reader {
public:
    Reader(std::wstring_view text, std::size_t at, bool isUrl) : text(text), at(at), isUrl(isUrl) {}

    // The name up to the next separator or to what ends a path, and moves after it.
    bool TakeName(std::wstring_view name, std::wstring_view terminators) {
        const std::size_t start = at;
        if (TakeText(name) && IsEnd(terminators)) {
            return true;
        }
        at = start;
        while (!IsEnd(terminators) && at - start <= longestShortName) {
            ++at;
        }
        return MayBeShortNameOf(text.substr(start, at - start), name);
    }

    bool TakeSeparator() {
        const bool isThere = at < text.size() && IsSeparator(text[at]);
        at += isThere ? 1 : 0;
        return isThere;
    }

    std::size_t At() const { return at; }

private:
    bool IsEnd(std::wstring_view terminators) const {
        return at >= text.size() || text[at] == L'\0' || IsOneOf(text[at], terminators);
    }

    bool TakeText(std::wstring_view name) {
        return std::ranges::all_of(
            name, [this](wchar_t unit) { return at < text.size() && TakeUnit() == FoldLetter(unit); });
    }

    wchar_t TakeUnit() {
        if (isUrl && text[at] == L'%' && text.size() - at > 2) {
            const auto unit = static_cast<wchar_t>(HexTextToInteger(text.substr(at + 1, 2), 2));
            at += 3;
            return FoldLetter(unit);
        }
        return FoldLetter(text[at++]);
    }

    std::wstring_view text;
    std::size_t at;
    bool isUrl;
};

// The names of a full path. Of a share's path the first one is the server's.
std::vector<std::wstring> NamesOf(std::wstring_view path) {
    return SplitText(path, L"\\", true);
}

bool IsShare(std::wstring_view path) {
    return path.starts_with(share);
}

// The end of the path whose first name begins at a place; none if another path is there.
std::optional<std::size_t> EndOfPath(const CapturedPath& path, const std::vector<std::wstring>& names,
                                     Reader reader) {
    for (std::size_t i = 0; i < names.size(); ++i) {
        const bool isLast = i + 1 == names.size();
        if (i > 0 && !reader.TakeSeparator()) {
            return std::nullopt;
        }
        const std::wstring_view terminators = isLast ? (path.isFile ? afterFile : afterFolder) : L"\\/\"";
        if (!reader.TakeName(names[i], terminators)) {
            return std::nullopt;
        }
    }
    return reader.At();
}

struct Opening {
    std::wstring_view text;
    std::wstring_view kept; // what stays of it
    bool isUrl = false;
};

// What may be before the first name of a path.
std::vector<Opening> OpeningsOf(const CapturedPath& path) {
    if (IsShare(path.path)) {
        return {{longShare, L""}, {shareUrl, fileUrl, true}, {share, L""}};
    }
    return {{longPath, L""}, {fileUrl, fileUrl, true}, {L"", L""}};
}

// The stem and the extension of a short name are the beginnings of the long name's, without blanks and dots.
std::wstring WithoutDropped(std::wstring_view text) {
    std::wstring kept;
    std::ranges::copy_if(text, std::back_inserter(kept),
                         [](wchar_t unit) { return unit != L' ' && unit != L'.'; });
    return FoldedText(kept);
}

struct NameParts {
    std::wstring_view stem;
    std::wstring_view extension;
};

// A name that is short itself has no other.
bool HasShortName(const NameParts& parts) {
    const auto isOther = [](wchar_t unit) { return unit >= 0x80 || IsOneOf(unit, L" .+,;=[]"); };
    return parts.stem.size() > longestStem || parts.extension.size() > longestExtension ||
           std::ranges::any_of(parts.stem, isOther) || std::ranges::any_of(parts.extension, isOther);
}

NameParts PartsOf(std::wstring_view name) {
    const std::size_t dot = name.rfind(L'.');
    return dot == std::wstring_view::npos || dot == 0 ? NameParts{name, {}}
                                                      : NameParts{name.substr(0, dot), name.substr(dot + 1)};
}

} // namespace

bool MayBeShortNameOf(std::wstring_view shortName, std::wstring_view name) {
    constexpr std::size_t leastBegin = 2;
    const NameParts shortParts = PartsOf(shortName);
    const NameParts parts = PartsOf(name);
    const std::size_t tilde = shortParts.stem.find(L'~');
    if (tilde == std::wstring_view::npos || tilde < leastBegin || tilde + 1 == shortParts.stem.size() ||
        shortParts.stem.size() > longestStem || !HasShortName(parts)) {
        return false;
    }
    const std::wstring stem = WithoutDropped(parts.stem);
    const std::wstring extension = WithoutDropped(parts.extension).substr(0, longestExtension);
    // After some names of the same beginning, the system puts digits of a hash after the first two letters.
    return stem.starts_with(FoldedText(std::wstring(shortParts.stem.substr(0, leastBegin)))) &&
           (stem.starts_with(FoldedText(std::wstring(shortParts.stem.substr(0, tilde)))) ||
            tilde == leastBegin + 4) &&
           EqualFolded(shortParts.extension, extension);
}

PathForms::PathForms(std::vector<CapturedPath> paths) : paths(std::move(paths)), found(this->paths.size()) {
    std::ranges::stable_sort(this->paths, [](const CapturedPath& left, const CapturedPath& right) {
        return left.path.size() > right.path.size();
    });
    for (const CapturedPath& path : this->paths) {
        names.push_back(NamesOf(path.path));
        for (const Opening& opening : OpeningsOf(path)) {
            firstUnits += FoldLetter(opening.text.empty() ? path.path.front() : opening.text.front());
        }
    }
}

std::optional<PathForms::Match> PathForms::MatchAt(std::wstring_view text, std::size_t at) const {
    // Most places are none, and data may be long.
    if (firstUnits.find(FoldLetter(text[at])) == std::wstring::npos || IsWordBefore(text, at)) {
        return std::nullopt;
    }
    for (std::size_t path = 0; path < paths.size(); ++path) {
        for (const Opening& opening : OpeningsOf(paths[path])) {
            if (!StartsWithFolded(text.substr(at), opening.text)) {
                continue;
            }
            const Reader reader(text, at + opening.text.size(), opening.isUrl);
            if (const std::optional<std::size_t> end = EndOfPath(paths[path], names[path], reader)) {
                return Match{path, *end, std::wstring(opening.kept)};
            }
        }
    }
    return std::nullopt;
}

std::optional<PathForms::Match> PathForms::BareNameAt(std::wstring_view text, std::size_t at) const {
    for (std::size_t path = 0; path < paths.size(); ++path) {
        Reader reader(text, at, false);
        if (paths[path].isFile && reader.TakeName(names[path].back(), afterFile)) {
            return Match{path, reader.At(), L""};
        }
    }
    return std::nullopt;
}

void PathForms::Append(PieceText& pieces, const Match& match) {
    if (!match.kept.empty()) {
        pieces.push_back({PieceKind::Literal, match.kept});
    }
    pieces.push_back(paths[match.path].piece);
    found[match.path] = true;
}

namespace {

void AppendLiteral(PieceText& pieces, wchar_t unit) {
    if (pieces.empty() || pieces.back().kind != PieceKind::Literal) {
        pieces.emplace_back();
    }
    pieces.back().text += unit;
}

} // namespace

PieceText PathForms::Replaced(std::wstring_view text) {
    PieceText pieces;
    for (std::size_t at = 0; at < text.size();) {
        if (const std::optional<Match> match = MatchAt(text, at)) {
            Append(pieces, *match);
            at = match->end;
        } else {
            AppendLiteral(pieces, text[at++]);
        }
    }
    return pieces;
}

PieceText PathForms::ReplacedPlace(std::wstring_view text) {
    const std::size_t start = text.starts_with(L'"') ? 1 : 0;
    const std::optional<Match> match = BareNameAt(text, start);
    if (!match) {
        return Replaced(text);
    }
    PieceText pieces;
    if (start > 0) {
        AppendLiteral(pieces, text.front());
    }
    Append(pieces, *match);
    const PieceText rest = Replaced(text.substr(match->end));
    pieces.insert(pieces.end(), rest.begin(), rest.end());
    return pieces;
}

bool PathForms::IsIn(std::wstring_view text) const {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (MatchAt(text, at)) {
            return true;
        }
    }
    return false;
}

bool PathForms::AreIn(const std::vector<std::uint8_t>& data) const {
    const std::wstring bytes(data.begin(), data.end());
    const std::vector<std::uint8_t> shifted(data.begin() + (data.empty() ? 0 : 1), data.end());
    return IsIn(bytes) || IsIn(DataUnits(data)) || IsIn(DataUnits(shifted));
}

std::vector<std::wstring> PathForms::NotFound() const {
    std::vector<std::wstring> missing;
    for (std::size_t path = 0; path < paths.size(); ++path) {
        if (!found[path]) {
            missing.push_back(paths[path].path);
        }
    }
    return missing;
}

std::wstring AbsolutePathIn(std::wstring_view text) {
    const auto isShareAt = [text](std::size_t at) {
        const bool isFirst = at == 0 || IsOneOf(text[at - 1], L"\" =,;(");
        return isFirst && text.substr(at).starts_with(share) && text.size() > at + share.size() &&
               (IsLetter(text[at + share.size()]) || IsDigit(text[at + share.size()]));
    };
    for (std::size_t at = 0; at < text.size(); ++at) {
        if ((IsDriveAt(text, at) && !IsWordBefore(text, at)) || isShareAt(at)) {
            const std::size_t end = text.find_first_of(std::wstring_view(L"\"\0,;|<>\r\n", 9), at);
            return std::wstring(text.substr(at, end - at));
        }
    }
    return {};
}

} // namespace keyreap
