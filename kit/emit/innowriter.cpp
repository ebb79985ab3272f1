#include "kit/emit/emitwriters.h"
#include "kit/emit/scripttext.h"
#include "regfile/valuetext.h"
#include "regmodel/regentry.h"

#include <algorithm>

namespace keyreap {

namespace {

// An opening brace begins a constant, a closing one alone means nothing. The line's quotes are around the
// text.
std::wstring Escaped(std::wstring_view text) {
    std::wstring escaped;
    for (const wchar_t unit : text) {
        escaped += unit == L'{' || unit == L'"' ? std::wstring(2, unit) : std::wstring(1, unit);
    }
    return escaped;
}

// The preprocessor replaces what follows these before the compiler reads the line.
bool HasDirective(std::wstring_view text) {
    return text.find(L"{#") != std::wstring_view::npos;
}

bool HasDirective(const PieceText& pieces) {
    return std::ranges::any_of(pieces, [](const Piece& piece) { return HasDirective(piece.text); });
}

class InnoWriter {
public:
    InnoWriter(const InstallData& data, std::vector<EmitNote>& notes) : data(data), notes(notes) {}

    // Uninstalling goes through the lines from the last to the first, so the keys come before what is in
    // them.
    std::string Script() {
        text = L"[Registry]\n";
        for (const KeyName& key : KeysToRemove(data)) {
            if (CanWrite(key.path)) {
                Line(key.root, key.path, L"", L"uninsdeletekeyifempty");
            }
        }
        for (const InstallComponent& component : data.components) {
            for (const InstallKey& key : component.keys) {
                AddKey(key, component.isKept ? L"" : L"uninsdeletevalue");
            }
        }
        return ScriptBytes(text);
    }

private:
    static bool CanWrite(const std::wstring& path) {
        return !HasUnwritable(path, L"") && !HasDirective(path);
    }

    std::wstring RootOf(InstallRoot root) const {
        const std::wstring bits = std::to_wstring(data.bitness);
        switch (root) {
        case InstallRoot::LocalMachine:
            return L"HKLM" + bits;
        case InstallRoot::CurrentUser:
            return L"HKCU" + bits;
        case InstallRoot::Users:
            return L"HKU" + bits;
        default:
            return L"HKCC" + bits;
        }
    }

    void Line(InstallRoot root, std::wstring_view path, std::wstring_view value, std::wstring_view flags) {
        text.append(L"Root: ").append(RootOf(root));
        text.append(L"; Subkey: \"").append(Escaped(path)).append(L"\"").append(value);
        if (!flags.empty()) {
            text.append(L"; Flags: ").append(flags);
        }
        // A 32-bit system has no such view.
        text.append(data.bitness == 64 ? L"; Check: IsWin64\n" : L"\n");
    }

    void AddKey(const InstallKey& key, std::wstring_view flags) {
        if (!CanWrite(key.path)) {
            AddNotes(notes, key, L"has a name that a line of Inno Setup can't have");
            return;
        }
        if (key.values.empty() && flags.empty()) {
            Line(key.root, key.path, L"", L""); // the others are among the keys to remove
        }
        for (const InstallValue& value : key.values) {
            if (std::wstring reason = ReasonAgainst(value); !reason.empty()) {
                notes.push_back({value.place, std::move(reason)});
            } else {
                Line(key.root, key.path, ValueOf(value), flags);
            }
        }
    }

    static std::wstring ReasonAgainst(const InstallValue& value) {
        const bool hasDirective =
            HasDirective(value.name) || HasDirective(value.text) ||
            std::ranges::any_of(value.list, [](const PieceText& pieces) { return HasDirective(pieces); });
        if (HasUnwritable(value, L"\t") || hasDirective) {
            return L"has a text that a line of Inno Setup can't have";
        }
        return TypeOf(value).empty()
                   ? L"is of type " + std::to_wstring(value.type) + L", which Inno Setup doesn't carry"
                   : L"";
    }

    static std::wstring TypeOf(const InstallValue& value) {
        switch (static_cast<RegType>(value.type)) {
        case RegType::Sz:
            return L"string";
        case RegType::ExpandSz:
            return L"expandsz";
        case RegType::Dword:
            return L"dword";
        case RegType::Binary:
            return L"binary";
        case RegType::MultiSz:
            return L"multisz";
        case RegType::Qword:
            return value.data.size() == sizeof(std::uint64_t) ? L"qword" : L"";
        default:
            return {};
        }
    }

    std::wstring ValueOf(const InstallValue& value) const {
        std::wstring words = L"; ValueType: " + TypeOf(value);
        if (!value.name.empty()) {
            words += L"; ValueName: \"" + TextOf(value.name) + L'"';
        }
        return words + L"; ValueData: \"" + DataOf(value) + L'"';
    }

    std::wstring DataOf(const InstallValue& value) const {
        switch (static_cast<RegType>(value.type)) {
        case RegType::Dword:
            return std::to_wstring(value.number);
        case RegType::Binary:
            return HexDigitsOf(value.data, L" ");
        case RegType::Qword:
            return L'$' + HexDigitsOf({value.data.rbegin(), value.data.rend()}, L"");
        case RegType::MultiSz:
            return ListOf(value);
        default:
            return TextOf(value.text);
        }
    }

    std::wstring ListOf(const InstallValue& value) const {
        std::wstring list;
        for (const PieceText& pieces : value.list) {
            list += (list.empty() ? L"" : L"{break}") + TextOf(pieces);
        }
        return list;
    }

    // A folder's name is a text of the script itself, such as {app}.
    std::wstring TextOf(const PieceText& pieces) const {
        return TextOfPieces(pieces, [this](const Piece& piece) {
            switch (piece.kind) {
            case PieceKind::File:
                return data.directory + L'\\' + Escaped(data.servers[piece.server].fileName);
            case PieceKind::Directory:
                return piece.text;
            default:
                return Escaped(piece.text);
            }
        });
    }

    const InstallData& data;
    std::vector<EmitNote>& notes;
    std::wstring text;
};

} // namespace

std::string WriteInno(const InstallData& data, std::vector<EmitNote>& notes) {
    return InnoWriter(data, notes).Script();
}

} // namespace keyreap
