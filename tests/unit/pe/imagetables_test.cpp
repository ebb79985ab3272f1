#include "pe/imagetables.h"
#include "tests/support/exactfile.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/mutation.h"
#include "tests/support/sectiontable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testsupport::BuiltImage;
using testsupport::ExactFile;
using testsupport::ImageBits;
using testsupport::ImageBuilder;

CheckedView ViewOf(const std::string& bytes) {
    return CheckedView(std::as_bytes(std::span(bytes)));
}

RvaResolver ResolverOf(const std::string& bytes) {
    return [&bytes](std::uint32_t rva) { return testsupport::PlaceBySections(ViewOf(bytes), rva); };
}

class ImageTables : public testing::TestWithParam<ImageBits> {
protected:
    std::vector<std::string_view> Imports() const { return NamesOfDirectory(1); }
    std::vector<std::string_view> DelayImports() const { return NamesOfDirectory(13); }

    bool Exports(std::string_view name) const {
        const CheckedView view = ViewOf(image.bytes);
        return ExportTableHasName(view, testsupport::DirectoryBySections(view, 0), ResolverOf(image.bytes),
                                  name);
    }

    std::vector<std::string_view> NamesOfDirectory(std::uint32_t index) const {
        const CheckedView view = ViewOf(image.bytes);
        const std::byte* first = testsupport::DirectoryBySections(view, index);
        const DescriptorTable table =
            index == 1 ? DescriptorTable::Imports(first) : DescriptorTable::DelayImports(first);
        return DllNames(view, table, ResolverOf(image.bytes));
    }

    void CutTo(std::size_t size) { image.bytes.resize(size); }

    BuiltImage image = ImageBuilder(GetParam())
                           .Exports({"DllCanUnloadNow", "DllRegisterServer"}, 3)
                           .Imports({"KERNEL32.dll", "ole32.dll", "own.dll"})
                           .DelayImports({"late.dll", "later.dll"})
                           .Build();
};

TEST_P(ImageTables, NamesComeInTheTablesOrder) {
    EXPECT_THAT(Imports(), ElementsAre("KERNEL32.dll", "ole32.dll", "own.dll"));
    EXPECT_THAT(DelayImports(), ElementsAre("late.dll", "later.dll"));
}

TEST_P(ImageTables, TableEndsAtANameAddressOfZero) {
    image.Set<std::uint32_t>("imports", 20 + 12, 0);
    EXPECT_THAT(Imports(), ElementsAre("KERNEL32.dll"));
    image.Set<std::uint32_t>("delayImports", 4, 0);
    EXPECT_THAT(DelayImports(), IsEmpty());
}

TEST_P(ImageTables, NameInNoSectionIsSkipped) {
    image.Set<std::uint32_t>("imports", 20 + 12, 0x00F00000);
    EXPECT_THAT(Imports(), ElementsAre("KERNEL32.dll", "own.dll"));
    image.Set<std::uint32_t>("delayImports", 4, 0xFFFFFFFF);
    EXPECT_THAT(DelayImports(), ElementsAre("later.dll"));
}

TEST_P(ImageTables, NameWithoutATerminatorInTheFileIsSkipped) {
    CutTo(image.At("delayImportsEnd") - 1);
    EXPECT_THAT(DelayImports(), ElementsAre("late.dll"));
}

TEST_P(ImageTables, TableThatRunsPastTheEndEndsThere) {
    // Only entries that name something, up to the cut.
    const std::size_t start = image.At("delayImports");
    const std::string entry = image.bytes.substr(start, 32);
    CutTo(start);
    for (int i = 0; i < 3; ++i) {
        image.bytes += entry;
    }
    CutTo(image.bytes.size() - 1);
    image.bytes.replace(image.At("imports"), 9, "late.dll\0", 9);
    for (const int descriptor : {0, 1}) {
        const std::uint32_t importsRva = 0x2000;
        image.Set("delayImports", 32 * descriptor + 4, importsRva);
    }
    EXPECT_THAT(DelayImports(), ElementsAre("late.dll", "late.dll"));
}

TEST_P(ImageTables, NoTableHasNoNames) {
    const CheckedView view = ViewOf(image.bytes);
    EXPECT_THAT(DllNames(view, DescriptorTable::Imports(nullptr), ResolverOf(image.bytes)), IsEmpty());
}

TEST_P(ImageTables, DelayAttributesAreNotLookedAt) {
    image.Set<std::uint32_t>("delayImports", 0, 0xFFFFFFFF);
    EXPECT_THAT(DelayImports(), ElementsAre("late.dll", "later.dll"));
}

TEST_P(ImageTables, ExportIsFoundByItsExactName) {
    EXPECT_TRUE(Exports("DllRegisterServer"));
    EXPECT_TRUE(Exports("DllCanUnloadNow"));
    EXPECT_FALSE(Exports("dllregisterserver"));
    EXPECT_FALSE(Exports("DllRegister"));
    EXPECT_FALSE(Exports("DllRegisterServerEx"));
    EXPECT_FALSE(Exports(""));
}

TEST_P(ImageTables, ExportByOrdinalAloneIsNotFound) {
    image = ImageBuilder(GetParam()).Exports({}, 5).Build();
    EXPECT_FALSE(Exports("DllRegisterServer"));
}

TEST_P(ImageTables, ExportCountThatIsTooLowHidesTheRest) {
    image.Set<std::uint32_t>("exports", 24, 1);
    EXPECT_TRUE(Exports("DllCanUnloadNow"));
    EXPECT_FALSE(Exports("DllRegisterServer"));
}

TEST_P(ImageTables, ExportCountThatIsTooHighEndsWithTheFile) {
    image.Set<std::uint32_t>("exports", 24, 0xFFFFFFFF);
    EXPECT_TRUE(Exports("DllRegisterServer"));
    EXPECT_FALSE(Exports("Missing"));
}

TEST_P(ImageTables, ExportNameInNoSectionIsSkipped) {
    image.Set<std::uint32_t>("exportNames", 0, 0xFFFFFFFF);
    EXPECT_FALSE(Exports("DllCanUnloadNow"));
    EXPECT_TRUE(Exports("DllRegisterServer"));
}

TEST_P(ImageTables, ExportNameTableInNoSectionHasNoNames) {
    image.Set<std::uint32_t>("exports", 32, 0xFFFFFFFF);
    EXPECT_FALSE(Exports("DllRegisterServer"));
}

TEST_P(ImageTables, ExportDirectoryThatIsCutHasNoNames) {
    CutTo(image.At("exports") + exportDirectorySize - 1);
    EXPECT_FALSE(Exports("DllRegisterServer"));
}

TEST_P(ImageTables, DamagedImagesAreReadWithinTheirBytes) {
    std::size_t names = 0;
    for (std::uint32_t seed = 0; seed < 20000; ++seed) {
        names += testsupport::AskEverything(ExactFile(testsupport::Mutated(image, seed)).View());
    }
    // Most damage leaves something to find, so the reading went past the headers.
    EXPECT_GT(names, 20000U);
}

TEST_P(ImageTables, ImagesCutAnywhereAreReadWithinTheirBytes) {
    for (std::size_t size = 0; size < image.bytes.size(); ++size) {
        const ExactFile cut(std::string_view(image.bytes).substr(0, size));
        EXPECT_LE(testsupport::AskEverything(cut.View()), 6U);
    }
}

INSTANTIATE_TEST_SUITE_P(Bitness, ImageTables, testing::Values(ImageBits::bits32, ImageBits::bits64));

} // namespace
} // namespace keyreap
