#include "kit/emit/formattedtext.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

class FormattedTextTest : public testing::Test {
protected:
    FormattedTextTest() {
        data.directory = L"DIR";
        data.servers = {{L"a b{.dll", L"a_b_.dll", {}, {}}};
    }

    std::wstring Of(const PieceText& pieces) const {
        return FormattedText(pieces, data, FileForm::Reference);
    }

    InstallData data;
    Piece file = {PieceKind::File, {}, 0};
    Piece folder = {PieceKind::Directory, L"DIR", 0};
};

TEST_F(FormattedTextTest, BracesAreEscapedOnlyBesideBrackets) {
    EXPECT_EQ(Of({{PieceKind::Literal, L"{x}"}}), L"{x}");
    EXPECT_EQ(Of({{PieceKind::Literal, L"{x}[y]"}}), L"[\\{]x[\\}][\\[]y[\\]]");
    EXPECT_EQ(Of({{PieceKind::Literal, L"{x} "}, file}), L"[\\{]x[\\}] [#a_b_.dll]");
    EXPECT_EQ(FormattedKey(L"CLSID\\{x}"), L"CLSID\\{x}");
    EXPECT_EQ(FormattedKey(L"{x}\\[y"), L"[\\{]x[\\}]\\[\\[]y");
}

TEST_F(FormattedTextTest, AFileIsAReferenceOrInItsFolder) {
    EXPECT_EQ(Of({file}), L"[#a_b_.dll]");
    EXPECT_EQ(FormattedText({file}, data, FileForm::Folder), L"[DIR]a b[\\{].dll");
}

TEST_F(FormattedTextTest, AFoldersPropertyHasTheBackslash) {
    EXPECT_EQ(Of({folder, {PieceKind::Literal, L"\\x"}}), L"[DIR]x");
    EXPECT_EQ(Of({folder, {PieceKind::Literal, L"/x"}}), L"[DIR]x");
    EXPECT_EQ(Of({folder, {PieceKind::Literal, L"\""}}), L"[DIR]\"");
    EXPECT_EQ(Of({{PieceKind::Directory, L"#file"}, {PieceKind::Literal, L"\\2"}}), L"[#file]\\2");
    EXPECT_EQ(Of({file, {PieceKind::Literal, L"\\2"}}), L"[#a_b_.dll]\\2");
}

std::wstring ReasonAgainst(std::uint32_t type, PieceText text, std::wstring name = {}) {
    InstallValue value;
    value.type = type;
    value.text = std::move(text);
    value.place.value = std::move(name);
    return ReasonAgainstValue(value);
}

TEST(ReasonAgainstValue, NamesWhatTheTableCannotCarry) {
    EXPECT_EQ(ReasonAgainst(1, {{PieceKind::Literal, L"x"}}), L"");
    EXPECT_EQ(ReasonAgainst(11, {}), L"is of type 11, which Windows Installer doesn't carry");
    EXPECT_EQ(ReasonAgainst(7, {}), L"is an empty list, which Windows Installer doesn't carry");
    EXPECT_EQ(ReasonAgainst(1, {{PieceKind::Literal, L"\x01"}}), L"has a character that XML doesn't have");
    EXPECT_EQ(ReasonAgainst(1, {{PieceKind::Literal, L"!(loc.x)"}}), L"has a text that begins a variable");
    for (const wchar_t* const name : {L"+", L"-", L"*"}) {
        EXPECT_EQ(ReasonAgainst(1, {}, name), L"has a name that is an instruction to Windows Installer");
    }
}

TEST(ReasonAgainstKey, NamesWhatTheTableCannotCarry) {
    InstallKey key;
    key.path = std::wstring(255, L'x');
    EXPECT_EQ(ReasonAgainstKey(key), L"");
    key.path += L'x';
    EXPECT_EQ(ReasonAgainstKey(key), L"is longer than the 255 characters that Windows Installer carries");
    key.path = std::wstring(252, L'x') + L'[';
    EXPECT_EQ(ReasonAgainstKey(key), L"is longer than the 255 characters that Windows Installer carries")
        << "a bracket is three characters there";
    key.path = std::wstring(251, L'x') + L'[';
    key.root = InstallRoot::LocalMachine;
    EXPECT_EQ(ReasonAgainstKey(key), L"");
    key.path = L"x";
    key.root = InstallRoot::CurrentConfig;
    EXPECT_EQ(ReasonAgainstKey(key), L"is in a root that Windows Installer doesn't carry");
}

} // namespace
} // namespace keyreap
