#include "regmodel/objectfacts.h"
#include "regmodel/registrymodel.h"
#include "tests/unit/regmodel/regdocuments.h"

namespace keyreap::testsupport {
namespace {

using Pairs = std::vector<std::pair<std::wstring, std::wstring>>;
using Texts = std::vector<std::wstring>;

constexpr std::wstring_view guid = L"{00000000-0000-0000-0000-000000000001}";

// The facts of a file's first object.
template <typename Facts>
Facts FactsIn(const std::wstring& content) {
    const RegistryModel model = ModelOf(Read(content));
    EXPECT_FALSE(model.objects.empty());
    const auto* facts = model.objects.empty() ? nullptr : std::get_if<Facts>(&model.objects.front().facts);
    EXPECT_NE(facts, nullptr);
    return facts == nullptr ? Facts() : *facts;
}

std::wstring Key(std::wstring_view path, std::wstring_view entries) {
    return std::wstring(L"\r\n[HKEY_CLASSES_ROOT\\").append(path).append(L"]\r\n").append(entries);
}

std::wstring ClassKey(std::wstring_view below, std::wstring_view entries) {
    return Key(std::wstring(L"CLSID\\").append(guid).append(below), entries);
}

TEST(ClassFacts, ServersAreTheKeysThatSayHowObjectsAreMade) {
    const auto facts = FactsIn<ClassFacts>(
        ClassKey(L"", L"@=\"name\"\r\n\"AppID\"=\"{a}\"\r\n") +
        ClassKey(L"\\inprocserver32", L"@=\"C:\\\\a.dll\"\r\n\"ThreadingModel\"=\"Both\"\r\n") +
        ClassKey(L"\\LocalServer32", L"@=hex(2):61,00,00,00\r\n") + ClassKey(L"\\Other", L"@=\"b\"\r\n"));
    EXPECT_EQ(facts.name, L"name");
    EXPECT_EQ(facts.appId, L"{a}");
    ASSERT_EQ(facts.servers.size(), 2u);
    EXPECT_EQ(facts.servers[0].kind, L"inprocserver32");
    EXPECT_EQ(facts.servers[0].path, L"C:\\a.dll");
    EXPECT_EQ(facts.servers[0].threadingModel, L"Both");
    EXPECT_EQ(facts.servers[1].path, L"a");
}

TEST(ClassFacts, NamesAndLibraryAreTextsOfTheirKeys) {
    const auto facts = FactsIn<ClassFacts>(
        ClassKey(L"\\ProgID", L"@=\"P.1\"\r\n") + ClassKey(L"\\VersionIndependentProgID", L"@=\"P\"\r\n") +
        ClassKey(L"\\TypeLib", L"@=\"{t}\"\r\n") + ClassKey(L"\\Version", L"@=\"1.0\"\r\n") +
        ClassKey(L"\\TreatAs", L"@=\"{o}\"\r\n"));
    EXPECT_EQ(facts.progId, L"P.1");
    EXPECT_EQ(facts.versionIndependentProgId, L"P");
    EXPECT_EQ(facts.typeLib, L"{t}");
    EXPECT_EQ(facts.version, L"1.0");
    EXPECT_EQ(facts.treatAs, L"{o}");
}

TEST(ClassFacts, CategoriesAndMarksAreKeys) {
    const auto facts = FactsIn<ClassFacts>(
        ClassKey(L"\\Implemented Categories\\{1}", L"") + ClassKey(L"\\Implemented Categories\\{2}", L"") +
        ClassKey(L"\\Required Categories\\{3}", L"") + ClassKey(L"\\Control", L""));
    EXPECT_EQ(facts.implementedCategories, (Texts{L"{1}", L"{2}"}));
    EXPECT_EQ(facts.requiredCategories, Texts{L"{3}"});
    EXPECT_EQ(facts.marks, Texts{L"Control"});
}

TEST(ClassFacts, MiscStatusHasADefaultAndOneForEachAspect) {
    const auto facts = FactsIn<ClassFacts>(ClassKey(L"\\MiscStatus", L"@=\"0\"\r\n") +
                                           ClassKey(L"\\MiscStatus\\1", L"@=\"131473\"\r\n"));
    EXPECT_EQ(facts.miscStatus, L"0");
    EXPECT_EQ(facts.miscStatusOfAspects, (Pairs{{L"1", L"131473"}}));
}

TEST(TypeLibFacts, VersionHasItsFilesByLanguageAndPlatform) {
    const std::wstring key = std::wstring(L"TypeLib\\").append(guid).append(L"\\1.a");
    const auto facts = FactsIn<TypeLibFacts>(
        Key(key, L"@=\"name\"\r\n") + Key(key + L"\\0\\win32", L"@=\"a\"\r\n") +
        Key(key + L"\\0\\win64", L"@=\"b\"\r\n") + Key(key + L"\\409\\win32", L"@=\"c\"\r\n") +
        Key(key + L"\\FLAGS", L"@=\"2\"\r\n") + Key(key + L"\\HELPDIR", L"@=\"d\"\r\n"));
    ASSERT_EQ(facts.versions.size(), 1u);
    const TypeLibVersion& version = facts.versions[0];
    EXPECT_EQ(version.version, L"1.a");
    EXPECT_EQ(version.name, L"name");
    EXPECT_EQ(version.flags, L"2");
    EXPECT_EQ(version.helpDir, L"d");
    ASSERT_EQ(version.files.size(), 3u);
    EXPECT_EQ(version.files[1].language, L"0");
    EXPECT_EQ(version.files[1].platform, L"win64");
    EXPECT_EQ(version.files[1].path, L"b");
    EXPECT_EQ(version.files[2].language, L"409");
}

TEST(ObjectFacts, InterfaceHasItsProxyAndLibrary) {
    const std::wstring key = std::wstring(L"Interface\\").append(guid);
    const auto facts = FactsIn<InterfaceFacts>(
        Key(key, L"@=\"IName\"\r\n") + Key(key + L"\\ProxyStubClsid32", L"@=\"{p}\"\r\n") +
        Key(key + L"\\TypeLib", L"@=\"{t}\"\r\n\"Version\"=\"1.0\"\r\n") +
        Key(key + L"\\NumMethods", L"@=\"7\"\r\n") + Key(key + L"\\BaseInterface", L"@=\"{b}\"\r\n"));
    EXPECT_EQ(facts.name, L"IName");
    EXPECT_EQ(facts.proxyStubClsid32, L"{p}");
    EXPECT_EQ(facts.typeLib, L"{t}");
    EXPECT_EQ(facts.typeLibVersion, L"1.0");
    EXPECT_EQ(facts.numMethods, L"7");
    EXPECT_EQ(facts.baseInterface, L"{b}");
}

TEST(ObjectFacts, ProgIdHasItsClassVersionAndVerbs) {
    const auto facts = FactsIn<ProgIdFacts>(
        Key(L"P", L"@=\"name\"\r\n") + Key(L"P\\CLSID", L"@=\"{c}\"\r\n") +
        Key(L"P\\CurVer", L"@=\"P.1\"\r\n") + Key(L"P\\shell\\open\\command", L"@=\"run\"\r\n"));
    EXPECT_EQ(facts.name, L"name");
    EXPECT_EQ(facts.clsid, L"{c}");
    EXPECT_EQ(facts.currentVersion, L"P.1");
    EXPECT_EQ(facts.verbs, (Pairs{{L"open", L"run"}}));
}

TEST(ObjectFacts, SurrogateMayBeSetWithoutAName) {
    EXPECT_EQ(FactsIn<AppIdFacts>(Key(L"AppID\\a.exe", L"\"DllSurrogate\"=\"\"\r\n")).dllSurrogate, L"");
    EXPECT_EQ(FactsIn<AppIdFacts>(Key(L"AppID\\a.exe", L"")).dllSurrogate, std::nullopt);
}

TEST(ObjectFacts, AppIdHasItsServiceAndUser) {
    const auto facts = FactsIn<AppIdFacts>(
        Key(L"AppID\\a.exe",
            L"@=\"n\"\r\n\"AppID\"=\"{a}\"\r\n\"LocalService\"=\"s\"\r\n\"RunAs\"=\"Interactive User\"\r\n"));
    EXPECT_EQ(facts.name, L"n");
    EXPECT_EQ(facts.appId, L"{a}");
    EXPECT_EQ(facts.localService, L"s");
    EXPECT_EQ(facts.runAs, L"Interactive User");
}

TEST(ObjectFacts, CategoryHasADescriptionInEachLanguage) {
    const auto facts = FactsIn<CategoryFacts>(Key(std::wstring(L"Component Categories\\").append(guid),
                                                  L"\"409\"=\"one\"\r\n\"407\"=\"eins\"\r\n"));
    EXPECT_EQ(facts.descriptions, (Pairs{{L"409", L"one"}, {L"407", L"eins"}}));
}

TEST(ObjectFacts, ExtensionHasItsTypes) {
    const auto facts = FactsIn<ExtensionFacts>(
        Key(L".x", L"@=\"P\"\r\n\"Content Type\"=\"a/b\"\r\n\"PerceivedType\"=\"text\"\r\n") +
        Key(L".x\\PersistentHandler", L"@=\"{h}\"\r\n"));
    EXPECT_EQ(facts.progId, L"P");
    EXPECT_EQ(facts.contentType, L"a/b");
    EXPECT_EQ(facts.perceivedType, L"text");
    EXPECT_EQ(facts.persistentHandler, L"{h}");
}

TEST(ObjectFacts, ClassOfAShellExtensionIsItsTextOrItsName) {
    const std::wstring menu = L"*\\shellex\\ContextMenuHandlers\\";
    EXPECT_EQ(
        FactsIn<ShellExtensionFacts>(Key(menu + L"A", std::wstring(L"@=\"").append(guid).append(L"\"\r\n")))
            .clsid,
        guid);
    EXPECT_EQ(FactsIn<ShellExtensionFacts>(Key(menu + std::wstring(guid), L"@=\"a name\"\r\n")).clsid, guid);
    const std::wstring other = L"{00000000-0000-0000-0000-000000000002}";
    EXPECT_EQ(FactsIn<ShellExtensionFacts>(Key(menu + std::wstring(guid), L"@=\"" + other + L"\"\r\n")).clsid,
              other);
}

TEST(ObjectFacts, ServiceHasItsProgramAndNumbers) {
    const std::wstring key = L"\r\n[HKEY_LOCAL_MACHINE\\SYSTEM\\CurrentControlSet\\Services\\S";
    const auto facts =
        FactsIn<ServiceFacts>(key +
                              L"]\r\n\"DisplayName\"=\"d\"\r\n\"ImagePath\"=\"i\"\r\n\"ObjectName\"="
                              L"\"o\"\r\n\"Type\"=dword:10\r\n" +
                              L"\"Start\"=dword:2\r\n" + key + L"\\Parameters]\r\n\"ServiceDll\"=\"p\"\r\n");
    EXPECT_EQ(facts.displayName, L"d");
    EXPECT_EQ(facts.imagePath, L"i");
    EXPECT_EQ(facts.account, L"o");
    EXPECT_EQ(facts.serviceDll, L"p");
    EXPECT_EQ(facts.type, 0x10u);
    EXPECT_EQ(facts.start, 2u);
}

} // namespace
} // namespace keyreap::testsupport
