#include "kit/manifest/manifestwriter.h"

#include <gtest/gtest.h>

// tests/keykit reads whole manifests with a parser.
namespace keyreap {
namespace {

TEST(WriteManifestTest, AManifestWithoutServersIsAnAssembly) {
    EXPECT_EQ(WriteManifest({L"a.classes", 32, {}, {}}),
              "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
              "<assembly xmlns=\"urn:schemas-microsoft-com:asm.v1\" manifestVersion=\"1.0\">\n"
              "  <assemblyIdentity type=\"win32\" name=\"a.classes\" version=\"1.0.0.0\" "
              "processorArchitecture=\"x86\"/>\n"
              "</assembly>\n");
}

TEST(WriteManifestTest, EmptyTextsHaveNoAttributeButForTheFolderOfHelp) {
    ComManifest manifest{L"a", 64, {{L"a&b.dll", {}, {}}}, {{L"{i}", {}, {}, {}, {}, L"{p}"}}};
    manifest.files[0].classes.push_back({L"{c}", {}, {}, {}, {L"P.1", L"P<"}, {}});
    manifest.files[0].libraries.push_back({L"{l}", L"1.0", {}, {}, std::uint16_t{0x1F}});
    const std::string text = WriteManifest(manifest);
    EXPECT_EQ(text.substr(text.find("  <file")),
              "  <file name=\"a&amp;b.dll\">\n"
              "    <comClass clsid=\"{c}\" progid=\"P.1\">\n"
              "      <progid>P&lt;</progid>\n"
              "    </comClass>\n"
              "    <typelib tlbid=\"{l}\" version=\"1.0\" helpdir=\"\" resourceid=\"1f\"/>\n"
              "  </file>\n"
              "  <comInterfaceExternalProxyStub iid=\"{i}\" proxyStubClsid32=\"{p}\"/>\n"
              "</assembly>\n");
}

} // namespace
} // namespace keyreap
