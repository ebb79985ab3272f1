// A .reg file: whatever its bytes are, it is read or has an error in one of its lines. What was read without
// damage is the same after it was written. Each entry belongs to one object at most.
#include "regmodel/registrymodel.h"
#include "regmodel/regtextreader.h"
#include "regmodel/regtextwriter.h"
#include "tests/native/regpieces.h"

#include <array>
#include <set>

using namespace keyreap;

namespace {

// Pieces of meaningful files: random bytes rarely are one. The last of them take a unit from the input.
constexpr std::array<std::wstring_view, 44> pieces = {
    L"\r\n[HKEY_CLASSES_ROOT\\",
    L"\r\n[-HKEY_CLASSES_ROOT\\",
    L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Wow6432Node\\Classes\\",
    L"CLSID\\",
    L"{00000000-0000-0000-0000-000000000001}",
    L"TypeLib\\",
    L"\\ProgID",
    L".ext",
    L"\\shellex\\ContextMenuHandlers\\a",
    L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Microsoft\\Windows\\CurrentVersion\\Shell Extensions\\Approved]\r\n",
    L"\r\n[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\",
    L"]\r\n",
    L"\r\n[HKEY_CLASSES_ROOT]\r\n",
    L"\r\n[HKEY_CURRENT_USER]\r\n",
    L"\r\n[HKEY_USERS]\r\n",
    L"\r\n[HKEY_LOCAL_MACHINE]\r\n",
    L"\r\n[K\\L]\r\n",
    L"\r\n[-K]\r\n",
    L"[",
    L"]",
    L"\r\n",
    L"\n",
    L"@=",
    L"@=\"",
    L"\"",
    L"\"n\"=",
    L"\\\"",
    L"\\",
    L"=",
    L"-",
    L";",
    L" ",
    L",",
    L"dword:",
    L"hex:",
    L"hex(2):",
    L"hex(7):,00,00",
    L"hex(b):",
    L",\\\r\n  ",
    L"00,01,02,03,04,05,06,07,08,09,0a,0b,0c,0d,0e",
    L"1f",
    L"text",
    L"",
    L""};

bool IsSound(const RegDocument& document) {
    for (const RegSection& section : document.sections) {
        for (const RegEntry& entry : section.entries) {
            if (entry.kind == RegEntryKind::Damaged ||
                (entry.kind == RegEntryKind::OtherText && entry.hasLoneName)) {
                return false;
            }
        }
    }
    // A comment may contain what makes a place ambiguous, and isn't written.
    return document.ambiguities.empty() && document.comments == 0;
}

void CheckEntries(const RegDocument& document, std::size_t size) {
    std::size_t line = 1;
    for (const RegSection& section : document.sections) {
        fuzz::Require(section.line > line && !section.path.empty());
        line = section.line;
        for (const RegEntry& entry : section.entries) {
            fuzz::Require(entry.line > line && entry.name.size() + entry.otherText.size() <= size);
            fuzz::Require((entry.kind == RegEntryKind::Damaged) == !ExpectedInstead(entry).empty());
            fuzz::Require(entry.kind != RegEntryKind::OtherText || document.isHarvest);
            line = entry.line;
        }
    }
}

template <typename Item>
void AddOnce(std::set<Item>& all, const std::vector<Item>& items) {
    for (const Item& item : items) {
        fuzz::Require(all.insert(item).second);
    }
}

void CheckModel(const RegDocument& document) {
    const RegistryModel model = ModelOf(document);
    std::set<RegEntryRef> entries;
    std::set<std::size_t> sections;
    AddOnce(entries, model.otherEntries);
    AddOnce(sections, model.otherSections);
    for (const RegObject& object : model.objects) {
        AddOnce(entries, object.entries);
        AddOnce(sections, object.sections);
        fuzz::Require(object.facts.index() == static_cast<std::size_t>(object.identity.kind));
        fuzz::Require(!object.entries.empty() || !object.sections.empty());
    }
    std::size_t total = 0;
    for (const RegSection& section : document.sections) {
        total += section.entries.size();
    }
    fuzz::Require(entries.size() == total && sections.size() == document.sections.size());
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const std::vector<std::uint8_t> file = fuzz::RegFileOf(input, pieces);
    const auto result = ReadRegDocument(file);
    if (const auto* error = std::get_if<RegReadError>(&result)) {
        fuzz::Require(error->line >= 1 && error->column >= 1 && !error->expected.empty());
        fuzz::Require(error->line <= file.size() + 1 && error->column <= file.size() + 1);
        return 0;
    }
    const RegDocument& document = std::get<RegDocument>(result);
    CheckEntries(document, file.size());
    CheckModel(document);
    const auto written = WriteRegDocument(document);
    fuzz::Require(written.has_value());
    if (IsSound(document)) {
        const auto again = ReadRegDocument(*written);
        fuzz::Require(std::holds_alternative<RegDocument>(again) && std::get<RegDocument>(again) == document);
    }
    return 0;
}
