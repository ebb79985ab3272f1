#include "kit/emit/emitwriters.h"
#include "regfile/valuetext.h"
#include "regmodel/regentry.h"
#include "regmodel/regtextwriter.h"

#include <algorithm>

namespace keyreap {

namespace {

bool HasLineBreak(std::wstring_view text) {
    return text.find_first_of(L"\r\n") != std::wstring_view::npos;
}

std::wstring_view NameOf(InstallRoot root) {
    switch (root) {
    case InstallRoot::LocalMachine:
        return L"HKEY_LOCAL_MACHINE";
    case InstallRoot::CurrentUser:
        return L"HKEY_CURRENT_USER";
    case InstallRoot::Users:
        return L"HKEY_USERS";
    default:
        return L"HKEY_CURRENT_CONFIG";
    }
}

std::wstring TextOf(const PieceText& pieces, const InstallData& data) {
    return TextOfPieces(pieces, [&data](const Piece& piece) {
        return piece.kind == PieceKind::File ? data.directory + L'\\' + data.servers[piece.server].fileName
                                             : piece.text;
    });
}

// In a form that an import brings back.
RegEntry EntryOf(const InstallValue& value, const InstallData& data) {
    RegEntry entry;
    entry.name = TextOf(value.name, data);
    entry.type = value.type;
    entry.data = value.data;
    entry.form = RegForm::TypedBytes;
    switch (static_cast<RegType>(value.type)) {
    case RegType::Sz: {
        const std::wstring text = TextOf(value.text, data);
        entry.form = HasLineBreak(text) ? RegForm::TypedBytes : RegForm::Text;
        entry.data = UnitData(text + L'\0');
        break;
    }
    case RegType::ExpandSz:
        entry.data = UnitData(TextOf(value.text, data) + L'\0');
        break;
    case RegType::MultiSz: {
        std::wstring units;
        std::ranges::for_each(value.list,
                              [&](const PieceText& text) { units += TextOf(text, data) + L'\0'; });
        entry.data = UnitData(units + L'\0');
        break;
    }
    case RegType::Dword:
        entry.form = RegForm::Number;
        break;
    case RegType::Binary:
        entry.form = RegForm::Bytes;
        break;
    default:
        break;
    }
    return entry;
}

RegSection SectionOf(const InstallKey& key, const InstallData& data, std::vector<EmitNote>& notes) {
    RegSection section;
    section.path = std::wstring(NameOf(key.root)) + L'\\' + key.path;
    for (const InstallValue& value : key.values) {
        RegEntry entry = EntryOf(value, data);
        if (HasLineBreak(entry.name)) {
            notes.push_back({value.place, L"has a line break in its name, for which there is no form"});
        } else {
            section.entries.push_back(std::move(entry));
        }
    }
    return section;
}

} // namespace

std::string WriteReg(const InstallData& data, std::vector<EmitNote>& notes) {
    RegDocument document;
    document.style.hexLines = RegHexLines::Regedit;
    document.style.hasEmptyLastLine = true;
    for (const InstallComponent& component : data.components) {
        for (const InstallKey& key : component.keys) {
            if (HasLineBreak(key.path)) {
                AddNotes(notes, key, L"has a line break in its name, for which there is no form");
            } else {
                document.sections.push_back(SectionOf(key, data, notes));
            }
        }
    }
    const std::vector<std::uint8_t> bytes = WriteRegDocument(document).value_or(std::vector<std::uint8_t>());
    return {bytes.begin(), bytes.end()};
}

} // namespace keyreap
