#include "kit/emit/emitwriters.h"
#include "kit/emit/scripttext.h"
#include "platform/core/text/text.h"
#include "regfile/valuetext.h"
#include "regmodel/regentry.h"

#include <algorithm>

namespace keyreap {

namespace {

constexpr std::size_t longestText = 1023;
constexpr std::size_t mostBytes = 3072; // of binary data and of a list
constexpr std::wstring_view writableControls = L"\t\r\n";

// The preprocessor reads a dollar sign with what follows it, also if there are two: as a symbol, a variable
// of the environment or an escape. It doesn't read again what it made of a character's number.
std::wstring DollarBefore(std::wstring_view rest) {
    const bool isRead = rest.starts_with(L'{') || rest.starts_with(L'%') || rest.starts_with(L'\\');
    return isRead ? L"${U+24}${U+24}" : L"$$";
}

std::wstring Quoted(std::wstring_view text) {
    std::wstring quoted = L"\"";
    for (std::size_t i = 0; i < text.size(); ++i) {
        switch (text[i]) {
        case L'$':
            quoted += DollarBefore(text.substr(i + 1));
            break;
        case L'"':
            quoted += L"$\\\"";
            break;
        case L'\r':
            quoted += L"$\\r";
            break;
        case L'\n':
            quoted += L"$\\n";
            break;
        case L'\t':
            quoted += L"$\\t";
            break;
        default:
            quoted += text[i];
        }
    }
    return quoted + L'"';
}

std::size_t LengthOf(const PieceText& pieces) {
    return TextOfPieces(pieces, [](const Piece& piece) { return piece.text; }).size();
}

class NsisWriter {
public:
    NsisWriter(const InstallData& data, std::vector<EmitNote>& notes) : data(data), notes(notes) {}

    std::string Script() {
        Open(L"Register");
        for (const InstallComponent& component : data.components) {
            std::ranges::for_each(component.keys, [this](const InstallKey& key) { Register(key); });
        }
        Close();
        Open(L"Unregister");
        for (const InstallComponent& component : data.components) {
            if (!component.isKept) {
                std::ranges::for_each(component.keys, [this](const InstallKey& key) { RemoveValues(key); });
            }
        }
        std::vector<KeyName> removed = KeysToRemove(data);
        std::ranges::reverse(removed);
        for (const KeyName& key : removed) {
            if (CanWrite(key.path)) {
                Line(L"DeleteRegKey /ifempty " + Place(key.root, key.path));
            }
        }
        Close();
        return ScriptBytes(text);
    }

private:
    void Open(std::wstring_view name) {
        text.append(L"!macro ").append(data.name).append(L"_").append(name) += L'\n';
    }
    void Close() { text += L"!macroend\n"; }
    void Line(std::wstring_view line) { text.append(L"  ").append(line) += L'\n'; }

    // Root and path of a key.
    std::wstring Place(InstallRoot root, const std::wstring& path) const {
        const std::wstring bits = std::to_wstring(data.bitness);
        switch (root) {
        case InstallRoot::LocalMachine:
            return L"HKLM" + bits + L' ' + Quoted(path);
        case InstallRoot::CurrentUser:
            return L"HKCU" + bits + L' ' + Quoted(path);
        case InstallRoot::Users:
            return L"HKU " + Quoted(path);
        default:
            return L"HKCC " + Quoted(path);
        }
    }

    std::wstring Place(const InstallKey& key, const InstallValue& value) const {
        return Place(key.root, key.path) + L' ' + TextOf(value.name);
    }

    // A quoted text. A folder's name is a text of the script itself, such as $INSTDIR.
    std::wstring TextOf(const PieceText& pieces) const {
        const auto ofPiece = [this](const Piece& piece) {
            const auto inside = [](std::wstring quoted) { return quoted.substr(1, quoted.size() - 2); };
            switch (piece.kind) {
            case PieceKind::File:
                return data.directory + L'\\' + inside(Quoted(data.servers[piece.server].fileName));
            case PieceKind::Directory:
                return piece.text;
            default:
                return inside(Quoted(piece.text));
            }
        };
        return L'"' + TextOfPieces(pieces, ofPiece) + L'"';
    }

    static bool CanWrite(const std::wstring& path) {
        return path.size() <= longestText && !HasUnwritable(path, writableControls);
    }

    void Register(const InstallKey& key) {
        if (!CanWrite(key.path)) {
            AddNotes(notes, key, L"has a name that NSIS can't carry");
            return;
        }
        if (key.values.empty()) {
            // A value that comes and goes leaves the key.
            const std::wstring place = Place(key.root, key.path) + L' ' + Quoted(data.name);
            Line(L"WriteRegStr " + place + L" \"\"");
            Line(L"DeleteRegValue " + place);
        }
        for (const InstallValue& value : key.values) {
            if (std::wstring reason = ReasonAgainst(value); !reason.empty()) {
                notes.push_back({value.place, std::move(reason)});
            } else {
                Line(Command(key, value));
            }
        }
    }

    void RemoveValues(const InstallKey& key) {
        for (const InstallValue& value : key.values) {
            if (CanWrite(key.path) && ReasonAgainst(value).empty()) {
                Line(L"DeleteRegValue " + Place(key, value));
            }
        }
    }

    static std::wstring ReasonAgainst(const InstallValue& value) {
        if (HasUnwritable(value, writableControls)) {
            return L"has a character that a script of NSIS can't have";
        }
        if (LengthOf(value.text) > longestText || LengthOf(value.name) > longestText) {
            return L"is longer than the " + std::to_wstring(longestText) + L" characters that NSIS carries";
        }
        switch (static_cast<RegType>(value.type)) {
        case RegType::Sz:
        case RegType::ExpandSz:
        case RegType::Dword:
            return {};
        case RegType::Binary:
            return ReasonAgainstBytes(value.data);
        case RegType::MultiSz:
            return std::ranges::all_of(value.list, IsLiteral)
                       ? ReasonAgainstBytes(ListData(value))
                       : L"is a list with a path, and NSIS carries lists as bytes";
        default:
            return L"is of type " + std::to_wstring(value.type) + L", which NSIS doesn't carry";
        }
    }

    static std::wstring ReasonAgainstBytes(const std::vector<std::uint8_t>& bytes) {
        return bytes.size() > mostBytes
                   ? L"has more than the " + std::to_wstring(mostBytes) + L" bytes that NSIS carries"
                   : L"";
    }

    std::wstring Command(const InstallKey& key, const InstallValue& value) const {
        const std::wstring place = Place(key, value) + L' ';
        switch (static_cast<RegType>(value.type)) {
        case RegType::Sz:
            return L"WriteRegStr " + place + TextOf(value.text);
        case RegType::ExpandSz:
            return L"WriteRegExpandStr " + place + TextOf(value.text);
        case RegType::Dword:
            return L"WriteRegDWORD " + place + L"0x" + HexToText(value.number, 8);
        case RegType::Binary:
            return L"WriteRegBin " + place + L'"' + HexDigitsOf(value.data, L"") + L'"';
        default:
            return L"WriteRegMultiStr /REGEDIT5 " + place + HexDigitsOf(ListData(value), L"");
        }
    }

    static std::vector<std::uint8_t> ListData(const InstallValue& value) {
        std::wstring units;
        for (const PieceText& text : value.list) {
            units += TextOfPieces(text, [](const Piece& piece) { return piece.text; }) + L'\0';
        }
        return UnitData(units + L'\0');
    }

    const InstallData& data;
    std::vector<EmitNote>& notes;
    std::wstring text;
};

} // namespace

std::string WriteNsis(const InstallData& data, std::vector<EmitNote>& notes) {
    return NsisWriter(data, notes).Script();
}

} // namespace keyreap
