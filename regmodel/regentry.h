#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <tuple>
#include <vector>

// What a .reg file contains, as typed data: keys in the file's order, each with its entries. No text of the
// file is kept. What its producer may spell in more than one way is in `RegStyle`.
namespace keyreap {

enum class RegEntryKind {
    Value,
    Deletion,  // "name"=-
    Damaged,   // an importer brings back nothing or something else; see ExpectedInstead
    OtherText, // a REG_QWORD of a harvest: the text of another value; never to be emitted
};

// The form of the right side. Text, Number and Bytes imply the type.
enum class RegForm {
    Text,       // "..."
    Number,     // dword:
    Bytes,      // hex:
    TypedBytes, // hex(n):
};

enum class RegDamage {
    None,
    NoData,       // nothing after the equals sign
    LoneEscape,   // a text whose first unit is a backslash or quote that isn't escaped
    LeadingComma, // hex(2):,00,00
};

struct RegEntry {
    std::wstring name; // empty: the key's default value
    RegEntryKind kind = RegEntryKind::Value;
    RegForm form = RegForm::Text;
    RegDamage damage = RegDamage::None;
    bool hasLoneName = false; // the name is damaged as by LoneEscape
    std::uint32_t type = 0;   // 0 if there are no data
    // As in the registry: a text is UTF-16, the low byte first, with its NUL, whatever the file's version.
    std::vector<std::uint8_t> data;
    std::wstring otherText; // of OtherText
    std::size_t line = 0;   // in the file, from 1; not compared

    friend bool operator==(const RegEntry& left, const RegEntry& right) {
        const auto content = [](const RegEntry& entry) {
            return std::tie(entry.name, entry.kind, entry.form, entry.damage, entry.hasLoneName, entry.type,
                            entry.data, entry.otherText);
        };
        return content(left) == content(right);
    }
};

// A key in brackets and the entries up to the next one. A key may have several sections.
struct RegSection {
    std::wstring path;
    bool isDeletion = false; // [-path]
    bool isCapturesOwn =
        false; // a key of a harvest that the capture itself made, and in which nothing was set
    std::vector<RegEntry> entries;
    std::size_t line = 0;

    friend bool operator==(const RegSection& left, const RegSection& right) {
        const auto content = [](const RegSection& section) {
            return std::tie(section.path, section.isDeletion, section.isCapturesOwn, section.entries);
        };
        return content(left) == content(right);
    }
};

enum class RegEncoding {
    Utf16,       // little endian, with a byte order mark
    Windows1252, // one byte a unit
};

enum class RegVersion {
    Five, // Windows Registry Editor Version 5.00
    Four, // REGEDIT4: the bytes of texts and lists in hex(n) are 8-bit characters
};

enum class RegLineEnd { CrLf, Lf };

// Where a line of bytes is broken.
enum class RegHexLines {
    Keyreap, // after 25 pairs; hex(2) and hex(7) never
    Regedit, // after the pair that reaches column 77
};

struct RegStyle {
    RegEncoding encoding = RegEncoding::Utf16;
    RegVersion version = RegVersion::Five;
    RegLineEnd lineEnd = RegLineEnd::CrLf;
    RegHexLines hexLines = RegHexLines::Keyreap;
    bool hasEmptyLastLine = false;
    bool hasLineEscapes =
        false; // line breaks in names and texts are \r and \n, as Wine's regedit writes them

    friend bool operator==(const RegStyle&, const RegStyle&) = default;
};

// A place that can be read in two ways because names and texts contain line breaks as they are.
struct RegAmbiguity {
    std::size_t line = 0;
    std::wstring reading; // the way that was taken, and the other one

    friend bool operator==(const RegAmbiguity& left, const RegAmbiguity& right) {
        return left.reading == right.reading;
    }
};

struct RegDocument {
    RegStyle style;
    bool isHarvest = false; // the four roots are keys, in a harvest's order
    std::vector<RegSection> sections;
    std::vector<RegAmbiguity> ambiguities;
    std::size_t comments = 0; // the file's comments; their text isn't kept, and not compared

    friend bool operator==(const RegDocument& left, const RegDocument& right) {
        const auto content = [](const RegDocument& document) {
            return std::tie(document.style, document.isHarvest, document.sections, document.ambiguities);
        };
        return content(left) == content(right);
    }
};

// The text of a REG_SZ or REG_EXPAND_SZ up to its first NUL; none for any other entry.
std::optional<std::wstring> EntryText(const RegEntry& entry);

// The number of a REG_DWORD of four bytes; none for any other entry.
std::optional<std::uint32_t> EntryNumber(const RegEntry& entry);

// What a sound file has in the place of a damaged entry; empty for all other kinds.
std::wstring ExpectedInstead(const RegEntry& entry);

// True for the text that a trace's result has where the data could not be read back.
bool IsFiller(const RegEntry& entry);

// The units as data, the low byte first.
std::vector<std::uint8_t> UnitData(std::wstring_view units);

// The units of data; an odd last byte is ignored.
std::wstring DataUnits(const std::vector<std::uint8_t>& data);

} // namespace keyreap
