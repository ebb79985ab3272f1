#include "kit/emit/componentnames.h"

#include "kit/emit/stableguid.h"
#include "platform/core/text/compare.h"
#include "platform/core/text/utf8.h"

#include <algorithm>

namespace keyreap {

namespace {

std::wstring StemOf(const std::wstring& fileName) {
    const std::size_t dot = fileName.rfind(L'.');
    return dot == std::wstring::npos || dot == 0 ? fileName : fileName.substr(0, dot);
}

// The stem, unless two servers have the same.
std::wstring NameOf(const InstallData& data, std::size_t server) {
    const std::wstring& file = data.servers[server].fileName;
    const auto hasStem = [&](const InstallServer& other) {
        return EqualFolded(StemOf(other.fileName), StemOf(file));
    };
    const bool isOnly = std::ranges::count_if(data.servers, hasStem) == 1;
    std::wstring name = IdentifierOf(isOnly ? StemOf(file) : file);
    std::ranges::replace(name, L'.', L'_'); // a name of a macro can't have one
    return name + (data.bitness == 64 ? L"_x64" : L"_x86");
}

std::wstring EndingOf(const InstallComponent& component) {
    return std::wstring(component.isPerUser ? L"_user" : L"") + (component.isKept ? L"_kept" : L"");
}

std::wstring GuidOf(const InstallData& data, const InstallComponent& component, const Guid& product) {
    const std::wstring scope = data.scope == InstallScope::Machine ? L"machine" : L"user";
    const std::wstring name = scope + L'/' + std::to_wstring(data.bitness) + L'/' + data.directory + L'/' +
                              data.servers[component.server].fileName + EndingOf(component);
    return GuidText(NamedGuid(product, ReadableUtf8(FoldedText(name))));
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
    for (InstallServer& server : data.servers) {
        server.id = IdentifierOf(server.fileName);
    }
    data.name = NameOf(data, 0);
    for (InstallComponent& component : data.components) {
        component.id = NameOf(data, component.server) + EndingOf(component);
        component.guid = GuidOf(data, component, product);
    }
}

} // namespace keyreap
