#include "kit/emit/emitwriters.h"
#include "kit/emit/formattedtext.h"
#include "kit/emit/nativeelements.h"
#include "kit/emit/scripttext.h"
#include "kit/emit/xmltext.h"
#include "regfile/valuetext.h"

#include <algorithm>

namespace keyreap {

namespace {

// A dollar sign may begin a variable of the tools; two of them are one.
std::wstring ForTools(std::wstring_view text) {
    std::wstring doubled;
    for (const wchar_t unit : text) {
        doubled += unit == L'$' ? L"$$" : std::wstring(1, unit);
    }
    return doubled;
}

std::wstring SignedNumber(std::uint32_t number) {
    return std::to_wstring(static_cast<std::int32_t>(number));
}

bool IsList(const InstallValue& value) {
    return static_cast<RegType>(value.type) == RegType::MultiSz;
}

std::wstring TypeOf(const InstallValue& value) {
    switch (static_cast<RegType>(value.type)) {
    case RegType::ExpandSz:
        return L"expandable";
    case RegType::Dword:
        return L"integer";
    case RegType::Binary:
        return L"binary";
    case RegType::MultiSz:
        return L"multiString";
    default:
        return L"string";
    }
}

class WixWriter {
public:
    WixWriter(const InstallData& data, WixVersion version, WixForm form, std::vector<EmitNote>& notes)
        : data(data), version(version), form(form), notes(notes), hasFile(data.servers.size()) {}

    std::string Document() {
        const bool isFour = version == WixVersion::Four;
        xml.Declare();
        xml.Open("Wix", {{"xmlns", isFour ? L"http://wixtoolset.org/schemas/v4/wxs"
                                          : L"http://schemas.microsoft.com/wix/2006/wi"}});
        xml.Open("Fragment", {});
        xml.Open("ComponentGroup", {{"Id", data.name}, {"Directory", data.directory}});
        for (const InstallComponent& component : data.components) {
            AddComponent(CarriedPart(component, notes));
        }
        xml.Close();
        xml.Close();
        xml.Close();
        if (form == WixForm::Native) {
            AddFilesLeftOut();
        }
        return xml.Bytes();
    }

private:
    // What stays when the product is removed, or is of a user, has no file in its component.
    bool HasFile(const InstallComponent& component) const {
        return form == WixForm::Native && !component.isKept && !component.isPerUser;
    }

    void AddComponent(InstallComponent component) {
        if (component.keys.empty()) {
            return;
        }
        hasKeyPath = HasFile(component);
        XmlWriter::Attributes attributes = {{"Id", component.id}, {"Guid", component.guid}};
        const bool is64 = data.bitness == 64;
        if (version == WixVersion::Four) {
            attributes.emplace_back("Bitness", is64 ? L"always64" : L"always32");
        } else {
            attributes.emplace_back("Win64", is64 ? L"yes" : L"no");
        }
        if (component.isKept) {
            attributes.emplace_back("Permanent", L"yes");
        }
        if (!hasKeyPath &&
            std::ranges::all_of(component.keys, [](const InstallKey& key) { return key.values.empty(); })) {
            attributes.emplace_back("KeyPath", L"yes"); // its folder
        }
        xml.Open("Component", attributes);
        if (HasFile(component)) {
            AddFile(component);
        }
        for (const InstallKey& key : component.keys) {
            AddKey(key);
        }
        xml.Close();
    }

    // The file is found by its name in the folders that the tools search.
    void AddFile(InstallComponent& component) {
        const InstallServer& server = data.servers[component.server];
        const NativeElements elements = TakeNativeElements(component, data);
        AddElement({"File",
                    {{"Id", server.id}, {"Source", ForTools(server.fileName)}, {"KeyPath", L"yes"}},
                    elements.inFile});
        for (const NativeElement& element : elements.inComponent) {
            AddElement(element);
        }
        hasFile[component.server] = true;
    }

    void AddElement(const NativeElement& element) {
        if (element.children.empty()) {
            xml.AddEmpty(element.name, element.attributes);
            return;
        }
        xml.Open(element.name, element.attributes);
        for (const NativeElement& child : element.children) {
            AddElement(child);
        }
        xml.Close();
    }

    void AddFilesLeftOut() {
        for (std::size_t server = 0; server < data.servers.size(); ++server) {
            if (!hasFile[server]) {
                notes.push_back({{data.servers[server].fileName, 0, {}, false, {}},
                                 L"is in no component, since none is removed with it"});
            }
        }
    }

    void AddKey(const InstallKey& key) {
        XmlWriter::Attributes attributes = {{"Root", InstallerRoot(key.root)},
                                            {"Key", ForTools(FormattedKey(key.path))}};
        if (key.values.empty()) {
            attributes.emplace_back("ForceCreateOnInstall", L"yes");
            if (key.isOwn) {
                attributes.emplace_back("ForceDeleteOnUninstall", L"yes");
            }
            xml.AddEmpty("RegistryKey", attributes);
            return;
        }
        xml.Open("RegistryKey", attributes);
        for (const InstallValue& value : key.values) {
            AddValue(value);
        }
        xml.Close();
    }

    void AddValue(const InstallValue& value) {
        XmlWriter::Attributes attributes;
        if (!value.name.empty()) {
            attributes.emplace_back("Name", Text(value.name));
        }
        // The tools make a string of a list with one text. A string with the separator is a list.
        const bool isList = IsList(value) && value.list.size() > 1;
        attributes.emplace_back("Type", IsList(value) && !isList ? L"string" : TypeOf(value));
        if (!isList) {
            attributes.emplace_back("Value", DataOf(value));
        }
        if (!hasKeyPath) {
            attributes.emplace_back("KeyPath", L"yes");
            hasKeyPath = true;
        }
        if (isList) {
            AddList(attributes, value);
        } else {
            xml.AddEmpty("RegistryValue", attributes);
        }
    }

    void AddList(const XmlWriter::Attributes& attributes, const InstallValue& value) {
        xml.Open("RegistryValue", attributes);
        for (const PieceText& text : value.list) {
            if (version == WixVersion::Four) {
                xml.AddEmpty("MultiString", {{"Value", Text(text)}});
            } else {
                xml.AddText("MultiStringValue", Text(text));
            }
        }
        xml.Close();
    }

    std::wstring DataOf(const InstallValue& value) const {
        switch (static_cast<RegType>(value.type)) {
        case RegType::Dword:
            return SignedNumber(value.number);
        case RegType::Binary:
            return HexDigitsOf(value.data, L"");
        case RegType::MultiSz:
            return L"[~]" + Text(value.list.front()) + L"[~]";
        default:
            return Text(value.text);
        }
    }

    std::wstring Text(const PieceText& pieces) const {
        return ForTools(FormattedText(pieces, data, FileForm::Reference));
    }

    const InstallData& data;
    WixVersion version;
    WixForm form;
    std::vector<EmitNote>& notes;
    XmlWriter xml;
    bool hasKeyPath = false;
    std::vector<bool> hasFile; // of each server
};

// wixl makes three dollar signs of two that are doubled.
bool HasTwoDollars(const PieceText& pieces) {
    return std::ranges::any_of(
        pieces, [](const Piece& piece) { return piece.text.find(L"$$") != std::wstring::npos; });
}

bool HasTwoDollars(const InstallValue& value) {
    return HasTwoDollars(value.name) || HasTwoDollars(value.text) ||
           std::ranges::any_of(value.list, [](const PieceText& text) { return HasTwoDollars(text); });
}

class WixlWriter {
public:
    WixlWriter(const InstallData& data, std::vector<EmitNote>& notes) : data(data), notes(notes) {}

    std::string Document() {
        xml.Open("Include", {});
        for (const InstallComponent& component : data.components) {
            AddComponent(CarriedPart(component, notes));
        }
        xml.Close();
        return xml.Bytes();
    }

private:
    void AddComponent(const InstallComponent& component) {
        if (component.keys.empty()) {
            return;
        }
        hasKeyPath = false;
        // wixl doesn't know permanent components. Windows Installer doesn't remove one without a GUID.
        xml.Open("Component", {{"Id", component.id},
                               {"Guid", component.isKept ? L"" : component.guid},
                               {"Win64", data.bitness == 64 ? L"yes" : L"no"}});
        for (const InstallKey& key : component.keys) {
            AddKey(key);
        }
        xml.Close();
    }

    void AddKey(const InstallKey& key) {
        if (key.values.empty()) {
            // A row of this name makes a key. With an asterisk it also removes the key, with everything in
            // it.
            AddRow(key, key.isOwn ? L"*" : L"+", L"string", L"");
        }
        for (const InstallValue& value : key.values) {
            // wixl has no type for lists. It doesn't change a string that begins with the separator.
            if (HasTwoDollars(value)) {
                notes.push_back({value.place, L"has two dollar signs in a row, which wixl changes"});
            } else {
                AddRow(key, Text(value.name), IsList(value) ? L"string" : TypeOf(value), DataOf(value));
            }
        }
    }

    void AddRow(const InstallKey& key, const std::wstring& name, std::wstring_view type,
                const std::wstring& text) {
        XmlWriter::Attributes attributes = {{"Root", InstallerRoot(key.root)},
                                            {"Key", ForTools(FormattedKey(key.path))},
                                            {"Name", ForTools(name)},
                                            {"Type", std::wstring(type)},
                                            {"Value", ForTools(text)}};
        if (!hasKeyPath) {
            attributes.emplace_back("KeyPath", L"yes");
            hasKeyPath = true;
        }
        xml.AddEmpty("RegistryValue", attributes);
    }

    // Begins with what says the type to Windows Installer where some releases of wixl don't write it.
    std::wstring DataOf(const InstallValue& value) const {
        switch (static_cast<RegType>(value.type)) {
        case RegType::ExpandSz:
            return L"#%" + Text(value.text);
        case RegType::Dword:
            return SignedNumber(value.number);
        case RegType::Binary:
            return L"#x" + HexDigitsOf(value.data, L"");
        case RegType::MultiSz:
            return ListOf(value);
        default:
            return Text(value.text);
        }
    }

    std::wstring ListOf(const InstallValue& value) const {
        std::wstring list = L"[~]";
        for (const PieceText& text : value.list) {
            list += Text(text) + L"[~]";
        }
        return list;
    }

    std::wstring Text(const PieceText& pieces) const { return FormattedText(pieces, data, FileForm::Folder); }

    const InstallData& data;
    std::vector<EmitNote>& notes;
    XmlWriter xml;
    bool hasKeyPath = false;
};

} // namespace

std::string WriteWix(const InstallData& data, WixVersion version, WixForm form,
                     std::vector<EmitNote>& notes) {
    return WixWriter(data, version, form, notes).Document();
}

std::string WriteWixl(const InstallData& data, std::vector<EmitNote>& notes) {
    return WixlWriter(data, notes).Document();
}

} // namespace keyreap
