#include "kit/manifest/flagwords.h"
#include "kit/manifest/manifestparts.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

#include <algorithm>
#include <array>
#include <tuple>

namespace keyreap {

namespace {

constexpr std::size_t fileDepth = 3; // VERSION\LCID\PLATFORM
constexpr std::size_t mostResourceDigits = 5;

struct LibraryFile {
    std::size_t server = 0;
    std::optional<std::uint16_t> resourceId;
};

// PATH or PATH\NUMBER.
std::optional<LibraryFile> FileIn(const InstallValue& value) {
    const PieceText& text = value.text;
    if (text.empty() || text.size() > 2 || text[0].kind != PieceKind::File) {
        return std::nullopt;
    }
    LibraryFile file{text[0].server, std::nullopt};
    if (text.size() == 1) {
        return file;
    }
    const std::wstring& rest = text[1].text;
    const bool isNumber = text[1].kind == PieceKind::Literal && rest.size() > 1 && rest[0] == L'\\' &&
                          rest.size() <= mostResourceDigits &&
                          rest.find_first_not_of(L"0123456789", 1) == std::wstring::npos;
    if (!isNumber) {
        return std::nullopt;
    }
    file.resourceId = static_cast<std::uint16_t>(TextToInteger(rest.substr(1)));
    return file;
}

// The folder of the servers, or one below it.
std::optional<std::wstring> FolderIn(const InstallValue* value) {
    if (value == nullptr || (IsOfText(*value) && value->text.empty())) {
        return std::wstring();
    }
    const PieceText& text = value->text;
    const std::wstring rest = text.size() == 2 ? text[1].text : L"";
    const bool isBelow = !text.empty() && text[0].kind == PieceKind::Directory && text.size() <= 2 &&
                         (rest.empty() || rest.starts_with(L'\\'));
    return isBelow ? std::optional(TrimLeft(TrimRight(rest, L"\\"), L"\\")) : std::nullopt;
}

struct Candidate {
    const ObjectEntries::Entry* entry = nullptr;
    LibraryFile file;
    std::wstring version; // decimal
    bool isOfBitness = false;

    // The newest version first; then the neutral language and the platform of the server's bitness.
    auto Order() const {
        const std::vector<std::wstring> numbers = SplitText(version, L".", false);
        return std::make_tuple(-TextToInteger(numbers[0]), -TextToInteger(numbers[1]), entry->key[1] != L"0",
                               !isOfBitness);
    }
};

std::vector<Candidate> CandidatesOf(const ObjectEntries& object, int bitness) {
    const std::wstring platform = bitness == 64 ? L"win64" : L"win32";
    std::vector<Candidate> candidates;
    for (const ObjectEntries::Entry& entry : object.All()) {
        if (entry.key.size() != fileDepth || !entry.value || !entry.name.empty()) {
            continue;
        }
        const std::optional<LibraryFile> file = FileIn(*entry.value);
        const std::optional<std::wstring> version = DecimalVersion(entry.key[0]);
        if (file && version) {
            candidates.push_back({&entry, *file, *version, EqualFolded(entry.key[2], platform)});
        }
    }
    return candidates;
}

} // namespace

std::variant<LibraryPart, std::wstring> LibraryPartOf(ObjectEntries& object, int bitness) {
    const std::vector<Candidate> candidates = CandidatesOf(object, bitness);
    const auto best = std::ranges::min_element(candidates, {}, &Candidate::Order);
    if (best == candidates.end()) {
        return L"belongs to a type library that isn't in the server";
    }
    const std::wstring version = best->entry->key[0];
    const std::wstring file = JoinedNames(best->entry->key);
    ManifestLibrary library{object.Id(), best->version, {}, {}, best->file.resourceId};
    const std::size_t server = best->file.server;
    object.Carry(file);
    // The library has its own name too.
    if (object.IsText(version)) {
        object.Carry(version);
    }
    if (const auto folder = FolderIn(object.Find(version + L"\\HELPDIR"))) {
        library.helpDir = *folder;
        object.Carry(version + L"\\HELPDIR");
    }
    if (const auto words = LibraryFlagWords(object.Text(version + L"\\FLAGS"))) {
        library.flags = *words;
        object.Carry(version + L"\\FLAGS");
    }
    return LibraryPart{server, library};
}

} // namespace keyreap
