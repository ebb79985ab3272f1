#include "kit/capture/serverpaths.h"
#include "kit/check/comparedkey.h"
#include "kit/check/ruletable.h"
#include "platform/core/text/compare.h"

#include <algorithm>
#include <array>
#include <iterator>

// What two captures in different folders, by different users and on computers of different names differ in.
namespace keyreap {

namespace {

// The texts of a capture's entries with marks in the place of the server's paths.
class Texts {
public:
    explicit Texts(const PlaceFacts& place) : paths(PathsOf(place)) {}

    std::wstring Of(const RegEntry& entry) {
        std::wstring all;
        for (const std::wstring& text : TextsOf(entry)) {
            all += Of(text) + L'\0';
        }
        return all;
    }

    std::wstring Of(const std::wstring& text) {
        return FoldedText(TextOfPieces(paths.Replaced(text), [](const Piece& piece) {
            return piece.kind == PieceKind::Literal ? piece.text : std::wstring(L"\1");
        }));
    }

    bool HasPath(const RegEntry& entry) const { return paths.AreIn(entry.data); }

private:
    static std::vector<CapturedPath> PathsOf(const PlaceFacts& place) {
        const std::array<std::wstring, 1> servers = {place.server};
        std::vector<CapturedPath> all = FilesOfServers(servers);
        std::ranges::copy(FoldersOfServers(servers, L"folder"), std::back_inserter(all));
        return all;
    }

    PathForms paths;
};

// One value in both captures.
struct Pair {
    const ComparedSection& section;
    const RegEntry& here;
    const RegEntry& elsewhere;
};

class Comparison {
public:
    explicit Comparison(const CheckInput& input)
        : facts(*input.facts.same), here(facts.here.capture, input.facts.bitness),
          elsewhere(facts.elsewhere.capture, input.facts.bitness), textsHere(facts.here),
          textsElsewhere(facts.elsewhere) {}

    // Calls visit(pair) for each value of both captures whose data differ in more than the server's path.
    template <typename Visit>
    void ForEachDifference(const Visit& visit) {
        for (const auto& [compared, section] : here.Sections()) {
            for (const auto& [name, entry] : section.entries) {
                const RegEntry* const other = elsewhere.Find(compared, name);
                if (other != nullptr && Differ(*entry, *other)) {
                    visit(Pair{section, *entry, *other});
                }
            }
        }
    }

    // Calls visit(section, value) for each key and value that one of them lacks.
    template <typename Visit>
    void ForEachMissing(const Visit& visit) {
        ForEachMissing({here, textsHere}, {elsewhere, textsElsewhere}, visit);
        ForEachMissing({elsewhere, textsElsewhere}, {here, textsHere}, visit);
    }

    // True if one has a name of its machine where the other has its own.
    bool NameTheirs(const Pair& pair, const std::wstring& nameHere, const std::wstring& nameElsewhere) const {
        return Has(pair.here, nameHere) && Has(pair.elsewhere, nameElsewhere);
    }

    const SameFacts& facts;

private:
    struct Side {
        const ComparedCapture& capture;
        Texts& texts;
    };

    template <typename Visit>
    static void ForEachMissing(const Side& one, const Side& other, const Visit& visit) {
        for (const auto& [compared, section] : one.capture.Sections()) {
            if (!other.capture.HasAtOrBelow(compared)) {
                visit(section, std::optional<std::wstring>());
                continue;
            }
            for (const auto& [name, entry] : section.entries) {
                if (other.capture.Find(compared, name) == nullptr &&
                    !HasNameWithPath(one, other, compared, name)) {
                    visit(section, std::optional(entry->name));
                }
            }
        }
    }

    // A value may have the server's path in its name.
    static bool HasNameWithPath(const Side& one, const Side& other, const std::wstring& compared,
                                const std::wstring& name) {
        const ComparedSection* const section = other.capture.Find(compared);
        const std::wstring marked = one.texts.Of(name);
        return section != nullptr && marked != name &&
               std::ranges::any_of(section->entries,
                                   [&](const auto& entry) { return other.texts.Of(entry.first) == marked; });
    }

    bool Differ(const RegEntry& left, const RegEntry& right) {
        if (left.type != right.type) {
            return true;
        }
        if (left.data == right.data) {
            return false;
        }
        if (TextsOf(left).empty()) {
            return !textsHere.HasPath(left) || !textsElsewhere.HasPath(right);
        }
        return textsHere.Of(left) != textsElsewhere.Of(right);
    }

    static bool Has(const RegEntry& entry, const std::wstring& name) {
        return !name.empty() && std::ranges::any_of(TextsOf(entry), [&name](const std::wstring& text) {
            return FoldedText(text).find(FoldedText(name)) != std::wstring::npos;
        });
    }

    ComparedCapture here;
    ComparedCapture elsewhere;
    Texts textsHere;
    Texts textsElsewhere;
};

bool NamesMachine(const Comparison& comparison, const Pair& pair, std::wstring& what) {
    const PlaceFacts& here = comparison.facts.here;
    const PlaceFacts& elsewhere = comparison.facts.elsewhere;
    if (comparison.NameTheirs(pair, here.user, elsewhere.user)) {
        what = L"the user who captured it";
    } else if (comparison.NameTheirs(pair, here.computer, elsewhere.computer)) {
        what = L"the computer on which it was captured";
    }
    return !what.empty();
}

} // namespace

void FindNamesOfMachine(const CheckInput& input, CheckPlaces& found) {
    if (!input.facts.same) {
        return;
    }
    Comparison comparison(input);
    comparison.ForEachDifference([&](const Pair& pair) {
        if (std::wstring what; NamesMachine(comparison, pair, what)) {
            found.push_back({{}, pair.section.path, pair.here.name, L"names " + what});
        }
    });
}

void FindChangingData(const CheckInput& input, CheckPlaces& found) {
    if (!input.facts.same) {
        return;
    }
    Comparison comparison(input);
    comparison.ForEachDifference([&](const Pair& pair) {
        if (std::wstring what; !NamesMachine(comparison, pair, what)) {
            found.push_back({{}, pair.section.path, pair.here.name, L"has other data in each capture"});
        }
    });
}

void FindChangingEntries(const CheckInput& input, CheckPlaces& found) {
    if (!input.facts.same) {
        return;
    }
    Comparison(input).ForEachMissing(
        [&](const ComparedSection& section, const std::optional<std::wstring>& value) {
            found.push_back({{}, section.path, value, L"is not in every capture"});
        });
}

} // namespace keyreap
