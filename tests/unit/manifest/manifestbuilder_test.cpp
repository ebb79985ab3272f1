#include "kit/manifest/manifestbuilder.h"
#include "tests/unit/emit/emittest.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

// Which entries are carried is compared with whole captures in tests/keykit.
namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testsupport::DocumentOf;

constexpr std::wstring_view key =
    L"[HKEY_CLASSES_ROOT\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}\\InprocServer32]";
constexpr std::wstring_view path = L"@=\"Z:\\\\build\\\\bin\\\\a.dll\"";

struct Built {
    ComManifest manifest;
    std::vector<EmitNote> notes;
};

Built ManifestOfLines(std::initializer_list<std::wstring_view> lines, int bitness = 64) {
    Built built;
    const std::vector<Capture> captures = {{L"a.reg", DocumentOf(lines)}};
    const ManifestSettings settings{L"a.classes", bitness, {{L"a.dll", {}, L"Z:\\build\\bin\\a.dll", {}}}};
    built.manifest = ManifestOf(captures, settings, built.notes);
    return built;
}

TEST(ManifestOfTest, AClassIsInTheElementOfItsServer) {
    const Built built = ManifestOfLines({key, path});
    ASSERT_THAT(built.manifest.files, SizeIs(1));
    ASSERT_THAT(built.manifest.files[0].classes, SizeIs(1));
    EXPECT_EQ(built.manifest.files[0].classes[0].clsid, L"{B29A312E-EB83-43BC-A846-E0C0563B8877}");
    EXPECT_THAT(built.notes, IsEmpty());
}

TEST(ManifestOfTest, The32BitViewIsThatOfA32BitServer) {
    constexpr std::wstring_view view =
        L"[HKEY_CLASSES_ROOT\\Wow6432Node\\CLSID\\{B29A312E-EB83-43BC-A846-E0C0563B8877}\\InprocServer32]";
    EXPECT_THAT(ManifestOfLines({view, path}, 32).manifest.files[0].classes, SizeIs(1));
    const Built built = ManifestOfLines({view, path}, 64);
    EXPECT_THAT(built.manifest.files[0].classes, IsEmpty());
    EXPECT_THAT(built.notes, SizeIs(2)) << "the entry, and the server that no entry names";
}

TEST(ManifestOfTest, NotesAreInTheOrderOfTheFile) {
    const Built built =
        ManifestOfLines({L"[HKEY_CURRENT_USER\\a]", L"\"b\"=\"c\"", L"[HKEY_CLASSES_ROOT\\.x]", L"@=\"y\"",
                         key, path, L"[HKEY_CURRENT_USER\\d]", L"\"e\"=\"f\""});
    std::vector<std::size_t> lines;
    for (const EmitNote& note : built.notes) {
        lines.push_back(note.place.line);
    }
    EXPECT_THAT(lines, ElementsAre(4, 7, 13));
}

TEST(ManifestOfTest, AnEmptyCaptureIsNamed) {
    const Built built = ManifestOfLines({L"[HKEY_CLASSES_ROOT\\x]"});
    ASSERT_THAT(built.notes, SizeIs(3));
    EXPECT_EQ(built.notes[1].reason, L"no value was captured");
}

} // namespace
} // namespace keyreap
