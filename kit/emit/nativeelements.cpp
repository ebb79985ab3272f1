#include "kit/emit/nativeelements.h"

#include "kit/emit/classentries.h"
#include "kit/emit/stableguid.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/text.h"

#include <algorithm>
#include <array>
#include <optional>
#include <set>

namespace keyreap {

namespace {

using Names = std::vector<std::wstring>;

constexpr std::wstring_view programFile = L"\"";

// A text that no step between the element and the registry changes: no sign of a variable or of a format, no
// blank at an end.
bool IsPlain(std::wstring_view text) {
    const auto isChanged = [](wchar_t unit) {
        return unit < L' ' || std::wstring_view(L"[]{}$").find(unit) != std::wstring_view::npos;
    };
    return !text.empty() && text.front() != L'#' && text.front() != L' ' && text.back() != L' ' &&
           std::ranges::none_of(text, isChanged);
}

// The form in which an element writes a GUID; empty if the text isn't one.
std::wstring WrittenGuid(std::wstring_view text) {
    const std::optional<Guid> guid = text.starts_with(L'{') ? WholeGuid(text) : std::nullopt;
    return guid ? L'{' + BareGuidText(*guid) + L'}' : L"";
}

std::wstring GuidAttribute(const std::wstring& written) {
    return written.substr(1, written.size() - 2);
}

// The number of a text that is written so: without a sign and leading zeros.
std::optional<std::uint32_t> NumberOf(const std::wstring& text, std::uint32_t largest, bool isHex) {
    constexpr std::size_t longest = 9;
    if (text.empty() || text.size() > longest) {
        return std::nullopt;
    }
    const std::uint32_t number =
        isHex ? HexTextToInteger(text, longest) : static_cast<std::uint32_t>(TextToInteger(text));
    const std::wstring written = isHex ? HexToText(number) : IntegerToText(number);
    return written == text && number <= largest ? std::optional(number) : std::nullopt;
}

// Entries that an element produces. They are taken when it is sure that the element is used.
class Claim {
public:
    explicit Claim(ClassEntries& entries) : entries(&entries) {}

    // True, and the entry is claimed, if its text is that of the pieces.
    bool Has(const std::wstring& key, const PieceText& wanted, std::wstring_view value = {}) {
        const PieceText* const text = entries->TextAt(NameOf(key, value));
        const bool isSame = text != nullptr && *text == wanted;
        if (isSame) {
            names.push_back(NameOf(key, value));
        }
        return isSame;
    }

    bool HasText(const std::wstring& key, const std::wstring& wanted, std::wstring_view value = {}) {
        return Has(key, {{PieceKind::Literal, wanted}}, value);
    }

    // The text that an attribute can have; otherwise it is empty, and nothing is claimed.
    std::wstring Plain(const std::wstring& key, std::wstring_view value = {}) {
        const std::wstring text = Look(key, value);
        return IsPlain(text) && HasText(key, text, value) ? text : L"";
    }

    // The same for a GUID, in the form of an attribute.
    std::wstring PlainGuid(const std::wstring& key) {
        const std::wstring written = WrittenGuid(Look(key));
        return !written.empty() && HasText(key, written) ? GuidAttribute(written) : L"";
    }

    // The text, if it is one literal; nothing is claimed.
    std::wstring Look(const std::wstring& key, std::wstring_view value = {}) const {
        const PieceText* const text = entries->TextAt(NameOf(key, value));
        return text != nullptr && text->size() == 1 && IsLiteral(*text) ? text->front().text : L"";
    }

    const PieceText* Pieces(const std::wstring& key) const { return entries->TextAt(NameOf(key, {})); }

    bool HasKey(const std::wstring& key) {
        const bool isThere = entries->IsEmptyKey(FoldedText(key));
        if (isThere) {
            keys.push_back(FoldedText(key));
        }
        return isThere;
    }

    void Take() {
        std::ranges::for_each(names, [this](const EntryName& name) { entries->Take(name); });
        std::ranges::for_each(keys, [this](const std::wstring& key) { entries->TakeKey(key); });
    }

private:
    static EntryName NameOf(const std::wstring& key, std::wstring_view value) {
        return {FoldedText(key), FoldedText(std::wstring(value))};
    }

    ClassEntries* entries;
    std::vector<EntryName> names;
    std::vector<std::wstring> keys;
};

class Builder {
public:
    Builder(InstallComponent& component, const InstallData& data)
        : server(component.server), data(data), entries(component, data) {}

    NativeElements Elements() {
        for (const Names& key : entries.Keys()) {
            AddTypeLibrary(key);
        }
        for (const Names& key : entries.Keys()) {
            AddInterface(key);
        }
        for (const Names& key : entries.Keys()) {
            AddClass(key);
        }
        entries.Finish();
        for (Library& library : libraries) {
            elements.inFile.push_back(std::move(library.element));
        }
        return std::move(elements);
    }

private:
    struct Library {
        std::wstring id;
        std::wstring version;
        NativeElement element;
    };

    Piece File() const { return {PieceKind::File, {}, server}; }

    static bool IsObject(const Names& key, std::wstring_view list, std::size_t count) {
        return key.size() == count && EqualFolded(key[0], list) && !WrittenGuid(key[1]).empty();
    }

    static void AddIf(NativeElement& element, std::string_view attribute, const std::wstring& text) {
        if (!text.empty()) {
            element.attributes.emplace_back(attribute, text);
        }
    }

    // TypeLib\{id}\major.minor\language\win64. The language is a hexadecimal number in the registry, and a
    // decimal one in the attribute.
    void AddTypeLibrary(const Names& key) {
        const std::wstring platform = data.bitness == 64 ? L"win64" : L"win32";
        if (!IsObject(key, L"TypeLib", 5) || !EqualFolded(key[4], platform) || !NumberOf(key[3], 9, true)) {
            return;
        }
        const std::size_t dot = key[2].find(L'.');
        const auto major = NumberOf(key[2].substr(0, dot), 0xFFFF, true);
        const auto minor =
            dot == std::wstring::npos ? std::nullopt : NumberOf(key[2].substr(dot + 1), 0xFFFF, true);
        const std::wstring versionKey = L"TypeLib\\" + key[1] + L'\\' + key[2];
        Claim claim(entries);
        const std::wstring description = claim.Plain(versionKey);
        const std::wstring flags = claim.Plain(versionKey + L"\\FLAGS");
        const auto flagBits = NumberOf(flags, 15, false);
        if (!major || !minor || description.empty() || !flagBits ||
            !claim.Has(versionKey + L'\\' + key[3] + L'\\' + platform, {File()})) {
            return;
        }
        NativeElement element{"TypeLib",
                              {{"Id", GuidAttribute(WrittenGuid(key[1]))},
                               {"Advertise", L"no"},
                               {"Description", description},
                               {"Language", key[3]},
                               {"MajorVersion", IntegerToText(*major)},
                               {"MinorVersion", IntegerToText(*minor)}},
                              {}};
        AddFlags(element, *flagBits);
        if (claim.Has(versionKey + L"\\HELPDIR", {{PieceKind::Directory, data.directory}})) {
            element.attributes.emplace_back("HelpDirectory", data.directory);
        }
        claim.Take();
        libraries.push_back({WrittenGuid(key[1]), key[2], std::move(element)});
    }

    static void AddFlags(NativeElement& element, std::uint32_t flags) {
        constexpr std::array<std::string_view, 4> names = {"Restricted", "Control", "Hidden", "HasDiskImage"};
        for (std::size_t bit = 0; bit < names.size(); ++bit) {
            if ((flags >> bit & 1) != 0) {
                element.attributes.emplace_back(names[bit], L"yes");
            }
        }
    }

    void AddInterface(const Names& key) {
        if (!IsObject(key, L"Interface", 2)) {
            return;
        }
        const std::wstring path = L"Interface\\" + key[1];
        Claim claim(entries);
        const std::wstring name = claim.Plain(path);
        if (name.empty()) {
            return;
        }
        NativeElement element{"Interface", {{"Id", GuidAttribute(WrittenGuid(key[1]))}, {"Name", name}}, {}};
        AddIf(element, "ProxyStubClassId", claim.PlainGuid(path + L"\\ProxyStubClsid"));
        AddIf(element, "ProxyStubClassId32", claim.PlainGuid(path + L"\\ProxyStubClsid32"));
        AddIf(element, "BaseInterface", claim.PlainGuid(path + L"\\BaseInterface"));
        if (NumberOf(claim.Look(path + L"\\NumMethods"), 0x7FFFFFFF, false)) {
            AddIf(element, "NumMethods", claim.Plain(path + L"\\NumMethods"));
        }
        Library* const library = LibraryOfInterface(path + L"\\TypeLib", claim);
        claim.Take();
        (library != nullptr ? library->element.children : elements.inComponent).push_back(std::move(element));
    }

    // Below a library's element, an interface also has its GUID and its version.
    Library* LibraryOfInterface(const std::wstring& path, Claim& claim) {
        Library* const library =
            FindLibrary([&](const Library& known) { return claim.Look(path, L"Version") == known.version; },
                        claim.Look(path));
        if (library != nullptr) {
            claim.HasText(path, library->id);
            claim.HasText(path, library->version, L"Version");
        }
        return library;
    }

    template <typename Condition>
    Library* FindLibrary(const Condition& fits, const std::wstring& id) {
        const auto found = std::ranges::find_if(
            libraries, [&](const Library& library) { return library.id == id && fits(library); });
        return found == libraries.end() ? nullptr : &*found;
    }

    // CLSID\{id}\InprocServer32 or LocalServer32.
    void AddClass(const Names& key) {
        if (!IsObject(key, L"CLSID", 3)) {
            return;
        }
        const bool isProgram = EqualFolded(key[2], L"LocalServer32");
        const std::wstring path = L"CLSID\\" + key[1];
        const std::wstring context = isProgram ? L"LocalServer32" : L"InprocServer32";
        Claim claim(entries);
        std::wstring argument;
        if (!EqualFolded(key[2], context) || classes.contains(WrittenGuid(key[1])) ||
            !(isProgram ? HasProgram(path + L"\\LocalServer32", claim, argument)
                        : claim.Has(path + L"\\InprocServer32", {File()}))) {
            return;
        }
        NativeElement element{
            "Class",
            {{"Id", GuidAttribute(WrittenGuid(key[1]))}, {"Advertise", L"no"}, {"Context", context}},
            {}};
        classes.insert(WrittenGuid(key[1]));
        AddIf(element, "Argument", argument);
        AddIf(element, "Description", claim.Plain(path));
        AddThreadingModel(element, path + L'\\' + context, claim);
        AddIf(element, "Version", claim.Plain(path + L"\\Version"));
        for (const std::string_view mark : {"Control", "Insertable", "Programmable"}) {
            AddIf(element, mark,
                  claim.HasKey(path + L'\\' + std::wstring(mark.begin(), mark.end())) ? L"yes" : L"");
        }
        AddProgId(element, WrittenGuid(key[1]), path, claim);
        Library* const library =
            FindLibrary([](const Library&) { return true; }, claim.Look(path + L"\\TypeLib"));
        if (library != nullptr) {
            claim.HasText(path + L"\\TypeLib", library->id);
        }
        claim.Take();
        (library != nullptr ? library->element.children : elements.inFile).push_back(std::move(element));
    }

    // The file between quotes, and arguments after a blank.
    bool HasProgram(const std::wstring& path, Claim& claim, std::wstring& argument) const {
        const PieceText* const text = claim.Pieces(path);
        const Piece quote{PieceKind::Literal, std::wstring(programFile)};
        if (text == nullptr || text->size() != 3 || text->front() != quote || (*text)[1] != File()) {
            return false;
        }
        const std::wstring rest = text->back().text;
        const std::wstring begin = std::wstring(programFile) + L' ';
        argument = rest.starts_with(begin) ? rest.substr(begin.size()) : L"";
        return (rest == programFile || IsPlain(argument)) && claim.Has(path, *text);
    }

    static void AddThreadingModel(NativeElement& element, const std::wstring& path, Claim& claim) {
        constexpr std::array<std::wstring_view, 6> models = {L"Apartment", L"Free",   L"Both",
                                                             L"Neutral",   L"Single", L"Rental"};
        const std::wstring model = claim.Look(path, L"ThreadingModel");
        if (std::ranges::find(models, model) != models.end()) {
            AddIf(element, "ThreadingModel", FoldedText(claim.Plain(path, L"ThreadingModel")));
        }
    }

    // A ProgID of a class names the class and is named by it. One without a version also names the other one.
    static void AddProgId(NativeElement& classElement, const std::wstring& classId, const std::wstring& path,
                          Claim& ofClass) {
        Claim claim = ofClass;
        std::optional<NativeElement> element = ProgId(classId, path + L"\\ProgID", claim);
        if (!element) {
            return;
        }
        const std::wstring name = element->attributes.front().second;
        Claim whole = claim;
        const std::wstring independentPath = path + L"\\VersionIndependentProgID";
        std::optional<NativeElement> independent = ProgId(classId, independentPath, whole);
        const std::wstring other = independent ? independent->attributes.front().second : L"";
        if (independent && !EqualFolded(other, name) && whole.HasText(other + L"\\CurVer", name)) {
            element->children.push_back(std::move(*independent));
            claim = whole;
        }
        ofClass = claim;
        classElement.children.push_back(std::move(*element));
    }

    static std::optional<NativeElement> ProgId(const std::wstring& classId, const std::wstring& path,
                                               Claim& claim) {
        const std::wstring name = claim.Plain(path);
        const bool isName = !name.empty() && name.find(L'\\') == std::wstring::npos;
        const std::wstring description = isName ? claim.Plain(name) : L"";
        if (description.empty() || !claim.HasText(name + L"\\CLSID", classId)) {
            return std::nullopt;
        }
        return NativeElement{
            "ProgId", {{"Id", name}, {"Advertise", L"no"}, {"Description", description}}, {}};
    }

    std::size_t server;
    const InstallData& data;
    ClassEntries entries;
    std::vector<Library> libraries;
    std::set<std::wstring> classes;
    NativeElements elements;
};

} // namespace

NativeElements TakeNativeElements(InstallComponent& component, const InstallData& data) {
    return Builder(component, data).Elements();
}

} // namespace keyreap
