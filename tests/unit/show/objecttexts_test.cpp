#include "kit/show/objecttexts.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;

// label: text, and the number of the kind that the text names.
std::vector<std::wstring> LinesOf(const ObjectFacts& facts) {
    std::vector<std::wstring> lines;
    for (const ObjectText& text : TextsOf(facts)) {
        const std::wstring target =
            text.target ? L" > " + std::to_wstring(static_cast<int>(*text.target)) : L"";
        lines.push_back(text.label + L": " + text.text + target);
    }
    return lines;
}

TEST(TextsOfTest, AClassHasItsServersAndWhatItNames) {
    ClassFacts facts;
    facts.name = L"Thing";
    facts.servers = {{L"InprocServer32", L"a.dll", L"Both"}, {L"LocalServer32", L"", L""}};
    facts.progId = L"A.B.1";
    facts.versionIndependentProgId = L"A.B";
    facts.typeLib = L"{L}";
    facts.appId = L"{P}";
    facts.treatAs = L"{T}";
    facts.implementedCategories = {L"{1}", L"{2}"};
    facts.miscStatusOfAspects = {{L"1", L"131473"}};
    facts.marks = {L"Control"};
    EXPECT_THAT(LinesOf(facts),
                ElementsAre(L"InprocServer32: a.dll", L"Threading model: Both", L"LocalServer32: (nothing)",
                            L"ProgID: A.B.1 > 3", L"Version-independent ProgID: A.B > 3",
                            L"Type library: {L} > 2", L"AppID: {P} > 4", L"Treated as: {T} > 0",
                            L"Implements: {1} > 5", L"Implements: {2} > 5", L"Status bits, aspect 1: 131473",
                            L"Marked as: Control"));
    EXPECT_EQ(NameOf(facts), L"Thing");
}

TEST(TextsOfTest, AnInterfaceNamesItsLibraryAndProxy) {
    InterfaceFacts facts;
    facts.proxyStubClsid32 = L"{P}";
    facts.typeLib = L"{L}";
    facts.typeLibVersion = L"1.0";
    facts.numMethods = L"7";
    facts.baseInterface = L"{I}";
    EXPECT_THAT(LinesOf(facts),
                ElementsAre(L"Type library: {L} > 2", L"Version of the library: 1.0",
                            L"Proxy and stub: {P} > 0", L"Methods: 7", L"Base interface: {I} > 1"));
}

TEST(TextsOfTest, ATypeLibraryHasItsVersionsAndFiles) {
    const TypeLibFacts facts{
        {{L"1.0", L"Old", L"0", L"", {}}, {L"1.a", L"New", L"", L"C:\\h", {{L"409", L"win64", L"a.tlb"}}}}};
    EXPECT_THAT(LinesOf(facts),
                ElementsAre(L"Version: 1.0, Old", L"Flags: 0", L"Version: 1.a, New",
                            L"File for win64, language 409: a.tlb", L"Folder of help files: C:\\h"));
    EXPECT_EQ(NameOf(facts), L"New");
    EXPECT_EQ(NameOf(TypeLibFacts{}), L"");
}

TEST(TextsOfTest, TheOtherKindsHaveWhatTheRegistryHas) {
    EXPECT_THAT(LinesOf(ProgIdFacts{L"n", L"{C}", L"A.1", {{L"open", L"x %1"}}}),
                ElementsAre(L"Class: {C} > 0", L"Current version: A.1 > 3", L"Verb open: x %1"));
    AppIdFacts appId;
    appId.localService = L"svc";
    EXPECT_THAT(LinesOf(appId), ElementsAre(L"Service: svc > 8"));
    appId.dllSurrogate = L"";
    EXPECT_THAT(LinesOf(appId), ElementsAre(L"Service: svc > 8", L"Surrogate: that of the system"));
    EXPECT_THAT(LinesOf(CategoryFacts{{{L"409", L"Things"}}}),
                ElementsAre(L"Description, language 409: Things"));
    EXPECT_THAT(LinesOf(ExtensionFacts{L"A.1", L"text/x", L"", L""}),
                ElementsAre(L"ProgID: A.1 > 3", L"Content type: text/x"));
    EXPECT_THAT(LinesOf(ShellExtensionFacts{L".x", L"IconHandler", L"n", L"{C}"}),
                ElementsAre(L"Class: {C} > 0", L"Extends: .x", L"Handler: IconHandler"));
    ServiceFacts service;
    service.displayName = L"Service";
    service.start = 3;
    EXPECT_THAT(LinesOf(service), ElementsAre(L"Start: 3"));
    EXPECT_EQ(NameOf(service), L"Service");
    EXPECT_THAT(LinesOf(ExtensionFacts{}), IsEmpty());
}

TEST(ScopeTextTest, NamesTheUserAndTheView) {
    RegScope scope{RegHive::ClassesRoot, RegView::Plain, RegArea::Classes, L""};
    EXPECT_EQ(ScopeText(scope), L"");
    scope.hive = RegHive::LocalMachine;
    EXPECT_EQ(ScopeText(scope), L"");
    scope.view = RegView::Wow6432;
    EXPECT_EQ(ScopeText(scope), L"32-bit view");
    scope.hive = RegHive::CurrentUser;
    EXPECT_EQ(ScopeText(scope), L"of the user, 32-bit view");
    EXPECT_EQ(ScopeText({RegHive::Users, RegView::Plain, RegArea::Classes, L"s-1"}), L"of the user s-1");
}

} // namespace
} // namespace keyreap
