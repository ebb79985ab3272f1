#include "regmodel/regtextwriter.h"

#include "platform/core/text/text.h"
#include "regfile/regtext.h"
#include "regmodel/hexlines.h"
#include "regmodel/regbytes.h"
#include "regmodel/regspelling.h"

#include <algorithm>
#include <string>
#include <string_view>

namespace keyreap {

namespace {

// Appends a document's lines. After the first character that can't be written nothing more counts.
class Writer {
public:
    explicit Writer(const RegDocument& document) : document(document) {
        lineEnd = document.style.lineEnd == RegLineEnd::CrLf ? L"\r\n" : L"\n";
    }

    std::optional<std::vector<std::uint8_t>> Bytes() {
        text = document.style.version == RegVersion::Five ? L"Windows Registry Editor Version 5.00"
                                                          : L"REGEDIT4";
        text += lineEnd;
        for (const RegSection& section : document.sections) {
            AddSection(section);
        }
        if (document.style.hasEmptyLastLine) {
            text += lineEnd;
        }
        return isWritable ? BytesOfUnits(text, document.style.encoding) : std::nullopt;
    }

private:
    void AddSection(const RegSection& section) {
        text.append(lineEnd).append(section.isDeletion ? L"[-" : L"[").append(section.path);
        text.append(L"]").append(lineEnd);
        for (const RegEntry& entry : section.entries) {
            AddEntry(entry);
            text += lineEnd;
        }
    }

    void AddEntry(const RegEntry& entry) {
        const std::wstring left = LeftSide(entry, document.style);
        text += left;
        if (entry.kind == RegEntryKind::Deletion) {
            text += L'-';
        } else if (entry.kind == RegEntryKind::OtherText) {
            text.append(HexOpening(entry.form, entry.type)).append(EncodeHexPairs(entry.otherText));
        } else if (entry.damage != RegDamage::NoData) {
            AddValue(entry, left.size());
        }
    }

    void AddValue(const RegEntry& entry, std::size_t opening) {
        if (entry.form == RegForm::Text) {
            text += TextSide(entry, document.style);
        } else if (entry.form == RegForm::Number) {
            text.append(L"dword:").append(HexToText(EntryNumber(entry).value_or(0), 8));
        } else if (entry.damage == RegDamage::LeadingComma) {
            text.append(HexOpening(entry.form, entry.type)).append(L",00,00");
        } else {
            AddBytes(entry, opening);
        }
    }

    void AddBytes(const RegEntry& entry, std::size_t opening) {
        const auto bytes = HexBytesOfData(entry.data, entry.type, document.style.version);
        if (!bytes) {
            isWritable = false;
            return;
        }
        const std::wstring form = HexOpening(entry.form, entry.type);
        text += form;
        std::size_t next = 0;
        for (const std::size_t pairs :
             PairsOfLines(document.style.hexLines, entry.type, opening + form.size(), bytes->size())) {
            if (next > 0) {
                text.append(L",\\").append(lineEnd).append(L"  ");
            }
            AddPairs({bytes->data() + next, pairs});
            next += pairs;
        }
    }

    void AddPairs(std::span<const std::uint8_t> bytes) {
        for (std::size_t i = 0; i < bytes.size(); ++i) {
            if (i > 0) {
                text += L',';
            }
            AppendHexByte(text, bytes[i]);
        }
    }

    const RegDocument& document;
    std::wstring_view lineEnd;
    std::wstring text;
    bool isWritable = true;
};

} // namespace

std::optional<std::vector<std::uint8_t>> WriteRegDocument(const RegDocument& document) {
    return Writer(document).Bytes();
}

} // namespace keyreap
