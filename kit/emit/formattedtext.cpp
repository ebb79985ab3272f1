#include "kit/emit/formattedtext.h"

#include "kit/emit/xmltext.h"
#include "regfile/valuetext.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::size_t longestKey = 255;
constexpr std::wstring_view brackets = L"[]";

// A property of a folder ends in a backslash, a reference to a file doesn't.
bool EndsInBackslash(const Piece& piece) {
    return piece.kind == PieceKind::Directory && !piece.text.starts_with(L'#');
}

// Text with references beside it.
std::wstring Escaped(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        const bool isSpecial = unit == L'[' || unit == L']' || unit == L'{' || unit == L'}';
        escaped += isSpecial ? std::wstring(L"[\\") + unit + L']' : std::wstring(1, unit);
    }
    return escaped;
}

std::wstring FormattedPiece(const Piece& piece, const InstallData& data, FileForm form) {
    switch (piece.kind) {
    case PieceKind::File: {
        const InstallServer& server = data.servers[piece.server];
        return form == FileForm::Reference ? L"[#" + server.id + L']'
                                           : L'[' + data.directory + L']' + Escaped(server.fileName);
    }
    case PieceKind::Directory:
        return L'[' + piece.text + L']';
    default:
        return Escaped(piece.text);
    }
}

bool HasBracket(const Piece& piece) {
    return piece.kind != PieceKind::Literal || piece.text.find_first_of(brackets) != std::wstring::npos;
}

// The tools of the installer's makers replace these themselves.
bool HasVariable(std::wstring_view text) {
    return text.find(L"!(loc.") != std::wstring_view::npos ||
           text.find(L"!(bind.") != std::wstring_view::npos ||
           text.find(L"!(wix.") != std::wstring_view::npos;
}

std::wstring ReasonAgainstText(std::wstring_view text) {
    if (!IsXmlText(text)) {
        return L"has a character that XML doesn't have";
    }
    return HasVariable(text) ? L"has a text that begins a variable" : L"";
}

std::wstring ReasonAgainstPieces(const PieceText& pieces) {
    std::wstring reason;
    for (const Piece& piece : pieces) {
        reason = reason.empty() ? ReasonAgainstText(piece.text) : reason;
    }
    return reason;
}

bool IsCarriedType(std::uint32_t type) {
    switch (static_cast<RegType>(type)) {
    case RegType::Sz:
    case RegType::ExpandSz:
    case RegType::Binary:
    case RegType::Dword:
    case RegType::MultiSz:
        return true;
    default:
        return false;
    }
}

} // namespace

std::wstring FormattedText(const PieceText& pieces, const InstallData& data, FileForm form) {
    if (std::ranges::none_of(pieces, HasBracket)) {
        return TextOfPieces(pieces, [](const Piece& piece) { return piece.text; });
    }
    std::wstring text;
    bool isAfterBackslash = false;
    for (const Piece& piece : pieces) {
        Piece shown = piece;
        const bool hasBackslash = piece.text.starts_with(L'\\') || piece.text.starts_with(L'/');
        if (isAfterBackslash && piece.kind == PieceKind::Literal && hasBackslash) {
            shown.text.erase(0, 1);
        }
        text += FormattedPiece(shown, data, form);
        isAfterBackslash = EndsInBackslash(piece);
    }
    return text;
}

std::wstring FormattedKey(std::wstring_view path) {
    return path.find_first_of(brackets) == std::wstring_view::npos ? std::wstring(path) : Escaped(path);
}

std::wstring InstallerRoot(InstallRoot root) {
    switch (root) {
    case InstallRoot::LocalMachine:
        return L"HKLM";
    case InstallRoot::CurrentUser:
        return L"HKCU";
    case InstallRoot::Users:
        return L"HKU";
    default:
        return {};
    }
}

std::wstring ReasonAgainstKey(const InstallKey& key) {
    if (InstallerRoot(key.root).empty()) {
        return L"is in a root that Windows Installer doesn't carry";
    }
    if (FormattedKey(key.path).size() > longestKey) {
        return L"is longer than the " + std::to_wstring(longestKey) +
               L" characters that Windows Installer carries";
    }
    return ReasonAgainstText(key.path);
}

std::wstring ReasonAgainstValue(const InstallValue& value) {
    if (!IsCarriedType(value.type)) {
        return L"is of type " + std::to_wstring(value.type) + L", which Windows Installer doesn't carry";
    }
    if (value.place.value == L"+" || value.place.value == L"-" || value.place.value == L"*") {
        return L"has a name that is an instruction to Windows Installer";
    }
    if (value.type == static_cast<std::uint32_t>(RegType::MultiSz) && value.list.empty()) {
        return L"is an empty list, which Windows Installer doesn't carry";
    }
    std::wstring reason = ReasonAgainstPieces(value.name);
    const auto add = [&reason](const PieceText& pieces) {
        reason = reason.empty() ? ReasonAgainstPieces(pieces) : reason;
    };
    add(value.text);
    std::ranges::for_each(value.list, add);
    return reason;
}

InstallComponent CarriedPart(InstallComponent component, std::vector<EmitNote>& notes) {
    std::vector<InstallKey> keys;
    for (InstallKey& key : component.keys) {
        if (const std::wstring reason = ReasonAgainstKey(key); !reason.empty()) {
            AddNotes(notes, key, reason);
            continue;
        }
        const bool hadValues = !key.values.empty();
        std::erase_if(key.values, [&notes](const InstallValue& value) {
            std::wstring reason = ReasonAgainstValue(value);
            const bool isRefused = !reason.empty();
            if (isRefused) {
                notes.push_back({value.place, std::move(reason)});
            }
            return isRefused;
        });
        if (!hadValues || !key.values.empty()) {
            keys.push_back(std::move(key));
        }
    }
    component.keys = std::move(keys);
    return component;
}

} // namespace keyreap
