#include "kit/manifest/flagwords.h"
#include "kit/manifest/manifestparts.h"
#include "platform/core/text/compare.h"
#include "regmodel/regplace.h"

namespace keyreap {

namespace {

constexpr std::wstring_view proxyKey = L"ProxyStubClsid32";
constexpr std::wstring_view oldProxyKey = L"ProxyStubClsid"; // of 16-bit programs

std::wstring TakeGuid(ObjectEntries& object, std::wstring_view key) {
    return IsGuidText(object.Text(key)) ? object.TakeText(key) : std::wstring();
}

std::wstring TakeNumber(ObjectEntries& object, std::wstring_view key) {
    const bool isNumber = object.Text(key).find_first_not_of(L"0123456789") == std::wstring::npos;
    return isNumber ? object.TakeText(key) : std::wstring();
}

} // namespace

std::variant<ManifestProxy, std::wstring> ProxyOf(ObjectEntries& object, const LibraryParts& libraries) {
    ManifestProxy proxy;
    proxy.iid = object.Id();
    proxy.proxyStubClsid = TakeGuid(object, proxyKey);
    if (proxy.proxyStubClsid.empty()) {
        return L"belongs to an interface without proxies, of which a manifest says nothing";
    }
    if (EqualFolded(object.Text(oldProxyKey), proxy.proxyStubClsid)) {
        object.Carry(oldProxyKey);
    }
    proxy.name = object.TakeText({});
    proxy.numMethods = TakeNumber(object, L"NumMethods");
    proxy.baseInterface = TakeGuid(object, L"BaseInterface");
    proxy.tlbid = TakeGuid(object, L"TypeLib");
    const auto library = libraries.find(FoldedText(proxy.tlbid));
    if (library != libraries.end() &&
        DecimalVersion(object.Text(L"TypeLib", L"Version")) == library->second.part.version) {
        object.Carry(L"TypeLib", L"Version");
    }
    return proxy;
}

} // namespace keyreap
