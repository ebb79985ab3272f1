#include "regmodel/regtextreader.h"

#include "regmodel/harvestmarks.h"
#include "regmodel/hexlines.h"
#include "regmodel/regbytes.h"
#include "regmodel/regentryreader.h"
#include "regmodel/regkeyreader.h"
#include "regmodel/regsource.h"
#include "regmodel/regspelling.h"

#include <algorithm>
#include <utility>

namespace keyreap {

namespace {

constexpr std::wstring_view headerFive = L"Windows Registry Editor Version 5.00";
constexpr std::wstring_view headerFour = L"REGEDIT4";

// Counts lines up to places that only grow.
class LineCounter {
public:
    explicit LineCounter(std::wstring_view text) : text(text) {}

    std::size_t LineOf(std::size_t at) {
        line += static_cast<std::size_t>(std::ranges::count(text.substr(counted, at - counted), L'\n'));
        counted = at;
        return line;
    }

private:
    std::wstring_view text;
    std::size_t counted = 0;
    std::size_t line = 1;
};

RegReadError ErrorOf(std::wstring_view text, RegFault fault) {
    const std::wstring_view before = text.substr(0, fault.at);
    const std::size_t start = before.rfind(L'\n') + 1;
    return {LineCounter(text).LineOf(fault.at), fault.at - start + 1, std::move(fault.expected)};
}

// Reads a file's units from its first line to its last one.
class DocumentReader {
public:
    explicit DocumentReader(std::wstring_view text) : lines(text) { source.text = text; }

    std::optional<RegFault> Read(RegDocument& document) {
        const std::size_t lineFeed = source.text.find(L'\n');
        const bool endsInLf =
            lineFeed != std::wstring_view::npos && (lineFeed == 0 || source.text[lineFeed - 1] != L'\r');
        document.style.lineEnd = endsInLf ? RegLineEnd::Lf : RegLineEnd::CrLf;
        source.lineEnd = endsInLf ? L"\n" : L"\r\n";
        if (!ReadHeader(document)) {
            return RegFault{0, L"the line \"Windows Registry Editor Version 5.00\" or \"REGEDIT4\""};
        }
        document.isHarvest = source.isHarvest = IsHarvest(source, at, document.style);
        document.style.hasEmptyLastLine = HasEmptyLastLine(source) && !document.isHarvest;
        // Keyreap's files have no such line, and in them \n at the start of a text is a damaged backslash.
        source.allowsLineEscapes = document.style.hasEmptyLastLine;
        while (at < source.text.size()) {
            if (std::optional<RegFault> fault = ReadLine(document)) {
                return fault;
            }
        }
        Finish(document);
        return std::nullopt;
    }

private:
    bool ReadHeader(RegDocument& document) {
        const std::size_t end = EndOfLine(source, 0);
        std::wstring_view line = source.text.substr(0, end);
        line = line.substr(0, line.find_last_not_of(L" \t") + 1);
        document.style.version = line == headerFour ? RegVersion::Four : RegVersion::Five;
        source.version = document.style.version;
        at = AfterLineEnd(source, 0);
        return line == headerFive || line == headerFour;
    }

    std::optional<RegFault> ReadLine(RegDocument& document) {
        const std::size_t start = AfterBlanks(source, at);
        const bool isEmpty = IsLineEnd(source, start);
        if (isEmpty || IsAt(source, start, L";")) {
            document.comments += isEmpty ? 0 : 1;
            at = AfterLineEnd(source, start);
            return std::nullopt;
        }
        if (IsAt(source, start, L"[")) {
            return ReadSection(document, start);
        }
        if (document.sections.empty()) {
            return RegFault{start, L"a key in brackets"};
        }
        if (IsAt(source, start, L"@") || IsAt(source, start, L"\"")) {
            return ReadEntryLine(document, start);
        }
        return RegFault{start, L"a key in brackets, @, a name in quotes, or a comment"};
    }

    std::optional<RegFault> ReadSection(RegDocument& document, std::size_t start) {
        auto key = ReadRegKey(source, start);
        if (auto* fault = std::get_if<RegFault>(&key)) {
            return std::move(*fault);
        }
        ReadKey& read = std::get<ReadKey>(key);
        read.section.line = lines.LineOf(start);
        if (read.hasLineBreak) {
            document.ambiguities.push_back(
                {read.section.line,
                 L"read as a key whose name has a line break, and not as a key without its bracket"});
        }
        document.sections.push_back(std::move(read.section));
        at = read.end;
        return std::nullopt;
    }

    std::optional<RegFault> ReadEntryLine(RegDocument& document, std::size_t start) {
        auto entry = ReadRegEntry(source, start);
        if (auto* fault = std::get_if<RegFault>(&entry)) {
            return std::move(*fault);
        }
        ReadEntry& read = std::get<ReadEntry>(entry);
        read.entry.line = lines.LineOf(start);
        if (read.isAmbiguous) {
            document.ambiguities.push_back(
                {read.entry.line,
                 L"read as an entry that ends in its line, and not as one with a line break in it"});
        }
        document.style.hasLineEscapes = document.style.hasLineEscapes || read.hasLineEscape;
        NoteHexLines(read, document.style);
        document.sections.back().entries.push_back(std::move(read.entry));
        at = read.end;
        return std::nullopt;
    }

    // The first entry whose lines only one of the producers breaks so.
    void NoteHexLines(const ReadEntry& read, const RegStyle& style) {
        if (hexLines || read.pairsOfLines.empty()) {
            return;
        }
        const RegEntry& entry = read.entry;
        const std::size_t opening = LeftSide(entry, style).size() + HexOpening(entry.form, entry.type).size();
        std::size_t count = 0;
        for (const std::size_t pairs : read.pairsOfLines) {
            count += pairs;
        }
        const auto isBrokenAs = [&](RegHexLines broken) {
            return PairsOfLines(broken, entry.type, opening, count) == read.pairsOfLines;
        };
        const bool isKeyreaps = isBrokenAs(RegHexLines::Keyreap);
        if (isKeyreaps != isBrokenAs(RegHexLines::Regedit)) {
            hexLines = isKeyreaps ? RegHexLines::Keyreap : RegHexLines::Regedit;
        }
    }

    void Finish(RegDocument& document) {
        const bool isRegedits = document.style.hasEmptyLastLine || document.style.version == RegVersion::Four;
        document.style.hexLines = hexLines.value_or(isRegedits ? RegHexLines::Regedit : RegHexLines::Keyreap);
        MarkOwnKeys(document);
    }

    RegSource source;
    LineCounter lines;
    std::size_t at = 0;
    std::optional<RegHexLines> hexLines;
};

} // namespace

std::wstring ErrorText(std::wstring_view file, const RegReadError& error) {
    return std::wstring(file) + L':' + std::to_wstring(error.line) + L':' + std::to_wstring(error.column) +
           L": expected " + error.expected;
}

std::variant<RegDocument, RegReadError> ReadRegDocument(std::span<const std::uint8_t> bytes) {
    RegDocument document;
    document.style.encoding = EncodingOf(bytes);
    const std::wstring text = UnitsOfBytes(bytes, document.style.encoding);
    std::optional<RegFault> fault = DocumentReader(text).Read(document);
    if (!fault && document.style.encoding == RegEncoding::Utf16 && bytes.size() % 2 != 0) {
        fault = RegFault{text.size(), L"the second byte of a character"};
    }
    return fault ? std::variant<RegDocument, RegReadError>(ErrorOf(text, std::move(*fault)))
                 : std::move(document);
}

} // namespace keyreap
