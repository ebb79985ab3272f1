#include "kit/emit/componentnames.h"

#include "kit/emit/stableguid.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/utf8.h"

#include <algorithm>

namespace keyreap {

namespace {

// As Windows Installer has them.
constexpr std::size_t longestIdentifier = 72;

// What follows in a component's name.
constexpr std::size_t longestEnding = std::wstring_view(L"_x64_user_kept").size();

std::wstring StemOf(const std::wstring& fileName) {
    const std::size_t dot = fileName.rfind(L'.');
    return dot == std::wstring::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

// The stem, unless two servers have the same. A name of a macro can't have a period.
std::wstring PlainNameOf(const InstallData& data, std::size_t server) {
    const std::wstring& file = data.servers[server].fileName;
    const auto hasStem = [&](const InstallServer& other) {
        return EqualFolded(StemOf(other.fileName), StemOf(file));
    };
    const bool isOnly = std::ranges::count_if(data.servers, hasStem) == 1;
    std::wstring name = IdentifierOf(isOnly ? StemOf(file) : file);
    std::ranges::replace(name, L'.', L'_');
    return name;
}

// The name, if it has `longest` characters at most and no other server has it; otherwise its start and a
// number that follows from the file's name.
std::wstring OwnName(const std::vector<std::wstring>& names, const InstallData& data, std::size_t server,
                     std::size_t longest) {
    const std::wstring& name = names[server];
    const auto isSame = [&](const std::wstring& other) { return EqualFolded(other, name); };
    if (name.size() <= longest && std::ranges::count_if(names, isSame) == 1) {
        return name;
    }
    const std::string file = ReadableUtf8(FoldedText(data.servers[server].fileName));
    const std::wstring number = L'_' + BareGuidText(NamedGuid(Guid(), file)).substr(0, 8);
    return name.substr(0, longest - number.size()) + number;
}

void NameServers(InstallData& data) {
    std::vector<std::wstring> names;
    for (const InstallServer& server : data.servers) {
        names.push_back(IdentifierOf(server.fileName));
    }
    for (std::size_t i = 0; i < names.size(); ++i) {
        data.servers[i].id = OwnName(names, data, i, longestIdentifier);
    }
}

// One for each server: what its components are named after.
std::vector<std::wstring> ComponentNames(const InstallData& data) {
    std::vector<std::wstring> plain, names;
    for (std::size_t i = 0; i < data.servers.size(); ++i) {
        plain.push_back(PlainNameOf(data, i));
    }
    for (std::size_t i = 0; i < plain.size(); ++i) {
        names.push_back(OwnName(plain, data, i, longestIdentifier - longestEnding) +
                        (data.bitness == 64 ? L"_x64" : L"_x86"));
    }
    return names;
}

std::wstring EndingOf(const InstallComponent& component) {
    return std::wstring(component.isPerUser ? L"_user" : L"") + (component.isKept ? L"_kept" : L"");
}

std::wstring GuidOf(const InstallData& data, const InstallComponent& component, const Guid& product) {
    const std::wstring scope = data.scope == InstallScope::Machine ? L"machine" : L"user";
    const std::wstring name = scope + L'/' + std::to_wstring(data.bitness) + L'/' + data.directory + L'/' +
                              data.servers[component.server].fileName + EndingOf(component);
    return BareGuidText(NamedGuid(product, ReadableUtf8(FoldedText(name))));
}

} // namespace

std::wstring IdentifierOf(std::wstring_view text) {
    std::wstring identifier;
    for (const wchar_t unit : text) {
        const wchar_t folded = FoldLetter(unit);
        const bool isLetter = (folded >= L'a' && folded <= L'z') || unit == L'_';
        const bool isOther = (unit >= L'0' && unit <= L'9') || unit == L'.';
        if (identifier.empty() && !isLetter) {
            identifier = L'_';
        }
        if (isLetter || isOther) {
            identifier += unit;
        } else if (!identifier.ends_with(L'_')) {
            identifier += L'_';
        }
    }
    return identifier;
}

void NameComponents(InstallData& data, const Guid& product) {
    NameServers(data);
    const std::vector<std::wstring> names = ComponentNames(data);
    data.name = names.front();
    for (InstallComponent& component : data.components) {
        component.id = names[component.server] + EndingOf(component);
        component.guid = GuidOf(data, component, product);
    }
}

} // namespace keyreap
