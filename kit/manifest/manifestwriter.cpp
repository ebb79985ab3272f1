#include "kit/manifest/manifestwriter.h"

#include "kit/emit/xmltext.h"
#include "platform/core/text/text.h"

namespace keyreap {

namespace {

using Attributes = XmlWriter::Attributes;

constexpr std::array<std::string_view, miscStatusCount> miscStatusNames = {
    "miscStatus", "miscStatusContent", "miscStatusThumbnail", "miscStatusIcon", "miscStatusDocPrint"};

void Put(Attributes& attributes, std::string_view name, const std::wstring& text) {
    if (!text.empty()) {
        attributes.emplace_back(name, text);
    }
}

void AddClass(XmlWriter& writer, const ManifestClass& one) {
    Attributes attributes = {{"clsid", one.clsid}};
    Put(attributes, "description", one.description);
    Put(attributes, "threadingModel", one.threadingModel);
    Put(attributes, "tlbid", one.tlbid);
    if (!one.progIds.empty()) {
        attributes.emplace_back("progid", one.progIds.front());
    }
    for (std::size_t i = 0; i < miscStatusCount; ++i) {
        Put(attributes, miscStatusNames[i], one.miscStatus[i]);
    }
    if (one.progIds.size() < 2) {
        writer.AddEmpty("comClass", attributes);
        return;
    }
    writer.Open("comClass", attributes);
    for (std::size_t i = 1; i < one.progIds.size(); ++i) {
        writer.AddText("progid", one.progIds[i]);
    }
    writer.Close();
}

void AddLibrary(XmlWriter& writer, const ManifestLibrary& library) {
    // helpdir has to be there, even if it is empty.
    Attributes attributes = {
        {"tlbid", library.tlbid}, {"version", library.version}, {"helpdir", library.helpDir}};
    if (library.resourceId) {
        attributes.emplace_back("resourceid", HexToText(*library.resourceId));
    }
    Put(attributes, "flags", library.flags);
    writer.AddEmpty("typelib", attributes);
}

// A file could have comInterfaceProxyStub in its place. Together with the comClass of the proxies, Windows
// was reported not to start a program with that, and without that comClass Wine doesn't find the proxies.
void AddProxy(XmlWriter& writer, const ManifestProxy& proxy) {
    Attributes attributes = {{"iid", proxy.iid}};
    Put(attributes, "name", proxy.name);
    Put(attributes, "tlbid", proxy.tlbid);
    Put(attributes, "baseInterface", proxy.baseInterface);
    Put(attributes, "numMethods", proxy.numMethods);
    Put(attributes, "proxyStubClsid32", proxy.proxyStubClsid);
    writer.AddEmpty("comInterfaceExternalProxyStub", attributes);
}

void AddFile(XmlWriter& writer, const ManifestFile& file) {
    writer.Open("file", {{"name", file.name}});
    for (const ManifestClass& one : file.classes) {
        AddClass(writer, one);
    }
    for (const ManifestLibrary& library : file.libraries) {
        AddLibrary(writer, library);
    }
    writer.Close();
}

} // namespace

std::string WriteManifest(const ComManifest& manifest) {
    XmlWriter writer;
    writer.Declare();
    writer.Open("assembly", {{"xmlns", L"urn:schemas-microsoft-com:asm.v1"}, {"manifestVersion", L"1.0"}});
    writer.AddEmpty("assemblyIdentity",
                    {{"type", L"win32"},
                     {"name", manifest.assemblyName},
                     {"version", L"1.0.0.0"},
                     {"processorArchitecture", manifest.bitness == 64 ? L"amd64" : L"x86"}});
    for (const ManifestFile& file : manifest.files) {
        AddFile(writer, file);
    }
    for (const ManifestProxy& proxy : manifest.proxies) {
        AddProxy(writer, proxy);
    }
    writer.Close();
    return writer.Bytes();
}

} // namespace keyreap
