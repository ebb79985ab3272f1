// Captures as installers carry them: whatever a .reg file has, each entry is carried or named, and each kind
// of installer gets what its readers take.
#include "kit/emit/emitwriters.h"
#include "kit/emit/installplace.h"
#include "platform/core/text/compare.h"
#include "regmodel/regtextreader.h"
#include "tests/native/capturefile.h"

#include <nlohmann/json.hpp>

#include <map>
#include <set>
#include <tuple>
#include <utility>

using namespace keyreap;

namespace {

// Three bytes say which settings, which kind of installer, and how the file is made.
InstallSettings SettingsOf(std::uint8_t options) {
    InstallSettings settings;
    settings.product = ParseGuid(L"{B29A312E-EB83-43BC-A846-E0C0563B8801}");
    settings.scope = (options & 1) == 0 ? InstallScope::Machine : InstallScope::User;
    settings.bitness = (options & 2) == 0 ? 64 : 32;
    settings.directory = L"DIR";
    settings.servers.push_back({L"a.dll", {}, L"Z:\\build\\a.dll", {}});
    if ((options & 4) != 0) {
        settings.servers.push_back({L"a b.exe", {}, L"Z:\\build\\a b.exe", {1, 2}});
        settings.servers.push_back({std::wstring(90, L'a') + L".dll", {}, L"Z:\\x\\a.dll", {}});
        settings.servers.push_back({L"a-b.exe", {}, L"Z:\\build\\a-b.exe", {}});
    }
    if ((options & 8) != 0) {
        settings.replacements.push_back({L"C:\\other", false, {PieceKind::Directory, L"OTHER", 0}});
    }
    return settings;
}

std::vector<std::uint8_t> FileOf(fuzz::Input& input, bool isRaw) {
    if (!isRaw) {
        return fuzz::CaptureFile(input);
    }
    const auto bytes = input.TakeRest();
    const auto* const first = reinterpret_cast<const std::uint8_t*>(bytes.data());
    return {first, first + bytes.size()};
}

std::size_t CountOf(std::string_view text, std::string_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

// What is carried or named.
class Account {
public:
    Account(const InstallData& data, const std::vector<EmitNote>& notes) {
        for (const EmitNote& note : notes) {
            fuzz::Require(!note.reason.empty());
            lines.insert(note.place.line);
        }
        for (const InstallComponent& component : data.components) {
            fuzz::Require(component.server < data.servers.size() && !component.keys.empty());
            for (const InstallKey& key : component.keys) {
                AddKey(key);
            }
        }
    }

    std::size_t Values() const { return values; }

    // An entry that repeats another one is carried with it.
    bool Has(const RegSection& section, const RegEntry& entry, InstallScope scope) const {
        if (lines.contains(entry.line)) {
            return true;
        }
        const auto place = InstallPlaceOf(section.path, scope);
        const auto* const known = std::get_if<InstallPlace>(&place);
        return known != nullptr &&
               names.contains({known->root, FoldedText(known->path), FoldedText(entry.name)});
    }

private:
    void AddKey(const InstallKey& key) {
        for (const InstallValue& value : key.values) {
            lines.insert(value.place.line);
            fuzz::Require(
                names.insert({key.root, FoldedText(key.path), FoldedText(value.place.value)}).second);
            ++values;
        }
    }

    std::set<std::size_t> lines;
    std::set<std::tuple<InstallRoot, std::wstring, std::wstring>> names;
    std::size_t values = 0;
};

void CheckEntries(const RegDocument& document, const Account& account, InstallScope scope) {
    for (const RegSection& section : document.sections) {
        for (const RegEntry& entry : section.entries) {
            // A deleted key is named as a whole.
            fuzz::Require(section.isDeletion || account.Has(section, entry, scope));
        }
    }
}

void CheckNames(const InstallData& data) {
    constexpr std::size_t longest = 72;
    std::set<std::wstring> ids;
    for (const InstallComponent& component : data.components) {
        fuzz::Require(ids.insert(FoldedText(component.id)).second && component.id.size() <= longest);
    }
    ids.clear();
    for (const InstallServer& server : data.servers) {
        fuzz::Require(ids.insert(FoldedText(server.id)).second && server.id.size() <= longest);
    }
}

// Each tag is closed, and no character is in a place where it would be read as a sign.
void CheckXml(std::string_view text) {
    std::vector<std::string> open;
    for (std::size_t at = text.find('<'); at != text.npos; at = text.find('<', at + 1)) {
        const std::size_t end = text.find('>', at);
        fuzz::Require(end != text.npos);
        const std::string_view tag = text.substr(at + 1, end - at - 1);
        fuzz::Require(tag.find('<') == tag.npos && CountOf(tag, "\"") % 2 == 0);
        const std::string name(tag.substr(0, tag.find_first_of(" /", 1)));
        if (tag.starts_with('/')) {
            fuzz::Require(!open.empty() && "/" + open.back() == name);
            open.pop_back();
        } else if (!tag.ends_with('/') && !tag.starts_with('?')) {
            open.push_back(name);
        }
    }
    fuzz::Require(open.empty());
}

// Writes with a function, and returns the text and how many more values are named than before.
template <typename Write>
std::pair<std::string, std::size_t> Written(const Write& write) {
    std::vector<EmitNote> notes;
    std::string text = write(notes);
    std::size_t values = 0;
    for (const EmitNote& note : notes) {
        fuzz::Require(!note.reason.empty() && note.place.line > 0);
        values += note.place.isKey ? 0 : 1;
    }
    return {std::move(text), values};
}

void CheckWix(const InstallData& data, WixVersion version, std::size_t values) {
    const auto [text, named] =
        Written([&](auto& notes) { return WriteWix(data, version, WixForm::Values, notes); });
    CheckXml(text);
    fuzz::Require(CountOf(text, "<RegistryValue ") + named == values);
    // Elements of their own say many values each, and a file without entries is named.
    std::vector<EmitNote> notes;
    const std::string native = WriteWix(data, version, WixForm::Native, notes);
    CheckXml(native);
    fuzz::Require(CountOf(native, "<RegistryValue ") <= values);
}

void CheckReg(const InstallData& data, std::size_t values) {
    const auto [text, named] = Written([&](auto& notes) { return WriteReg(data, notes); });
    const auto* const first = reinterpret_cast<const std::uint8_t*>(text.data());
    const std::vector<std::uint8_t> bytes(first, first + text.size());
    const auto result = ReadRegDocument(bytes);
    fuzz::Require(std::holds_alternative<RegDocument>(result));
    const RegDocument& document = std::get<RegDocument>(result);
    fuzz::Require(document.ambiguities.empty() && document.comments == 0);
    std::size_t found = 0;
    for (const RegSection& section : document.sections) {
        for (const RegEntry& entry : section.entries) {
            fuzz::Require(entry.kind == RegEntryKind::Value && !entry.hasLoneName);
            ++found;
        }
    }
    fuzz::Require(found + named == values);
}

void CheckJson(const InstallData& data, const std::vector<Capture>& captures, std::size_t values) {
    const auto [text, named] = Written([&](auto& notes) { return WriteJson(data, captures, notes); });
    const nlohmann::json document = nlohmann::json::parse(text, nullptr, false);
    fuzz::Require(!document.is_discarded());
    std::size_t found = 0;
    for (const auto& component : document["components"]) {
        for (const auto& key : component["keys"]) {
            found += key["values"].size();
        }
    }
    fuzz::Require(found + named == values);
}

// The first line may begin with a byte order mark.
std::size_t LinesWith(std::string_view text, std::string_view start) {
    const std::string lines = "\n" + std::string(text.substr(text.starts_with("\xEF\xBB\xBF") ? 3 : 0));
    return CountOf(lines, "\n" + std::string(start));
}

void CheckNsis(const InstallData& data, std::size_t values) {
    const auto [nsis, unscripted] = Written([&](auto& notes) { return WriteNsis(data, notes); });
    fuzz::Require(LinesWith(nsis, "!macro ") == 2 && LinesWith(nsis, "!macroend") == 2);
    fuzz::Require(LinesWith(nsis, "  WriteReg") + unscripted >= values);
}

void CheckInno(const InstallData& data, std::size_t values) {
    const auto [inno, left] = Written([&](auto& notes) { return WriteInno(data, notes); });
    fuzz::Require(inno.find("[Registry]\n") != inno.npos && LinesWith(inno, "Root: ") + left >= values);
}

void CheckKind(const InstallData& data, const std::vector<Capture>& captures, std::uint8_t kind,
               std::size_t values) {
    switch (kind % 7) {
    case 0:
        return CheckWix(data, WixVersion::Four, values);
    case 1:
        return CheckWix(data, WixVersion::Three, values);
    case 2:
        return CheckXml(Written([&](auto& notes) { return WriteWixl(data, notes); }).first);
    case 3:
        return CheckReg(data, values);
    case 4:
        return CheckNsis(data, values);
    case 5:
        return CheckInno(data, values);
    default:
        return CheckJson(data, captures, values);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    fuzz::Input input(data, size);
    const InstallSettings settings = SettingsOf(input.Byte());
    const std::uint8_t kind = input.Byte();
    const bool isRaw = input.Byte() % 4 == 0;
    auto result = ReadRegDocument(FileOf(input, isRaw));
    if (std::holds_alternative<RegReadError>(result)) {
        return 0;
    }
    const std::vector<Capture> captures = {{L"a.reg", std::get<RegDocument>(std::move(result))}};
    std::vector<EmitNote> notes;
    const InstallData made = InstallDataOf(captures, settings, notes);
    const Account account(made, notes);
    CheckEntries(captures.front().document, account, settings.scope);
    CheckNames(made);
    CheckKind(made, captures, kind, account.Values());
    return 0;
}
