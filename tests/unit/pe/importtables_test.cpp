#include "pe/importtables.h"
#include "tests/support/bytewriter.h"
#include "tests/support/exactfile.h"
#include "tests/support/imagebuilder.h"
#include "tests/support/sectiontable.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;
using testsupport::BuiltImage;
using testsupport::ByteWriter;
using testsupport::ExactFile;
using testsupport::ImageBuilder;

// Import tables in a file without anything else: an address is the place in the file. The descriptors are at
// descriptorsAt, each followed by what it names.
class ImportTables : public testing::TestWithParam<LookupEntry> {
protected:
    static constexpr std::uint32_t descriptorsAt = 16;

    std::size_t EntrySize() const { return static_cast<std::size_t>(GetParam()); }
    std::uint64_t Ordinal(std::uint16_t number) const {
        return (std::uint64_t{1} << (8 * EntrySize() - 1)) | number;
    }

    ImportTables() { writer.FillTo(descriptorsAt + 20 * 4); }

    std::uint32_t PutText(std::string_view text) {
        const auto at = static_cast<std::uint32_t>(writer.Size());
        writer.PutZeroTerminated(text);
        return at;
    }

    std::uint32_t PutFunctionName(std::string_view name) {
        writer.Put<std::uint16_t>(7);
        return PutText(name) - 2;
    }

    std::uint32_t PutLookup(const std::vector<std::uint64_t>& entries) {
        const auto at = static_cast<std::uint32_t>(writer.Size());
        for (const std::uint64_t entry : entries) {
            PutEntry(entry);
        }
        PutEntry(0);
        return at;
    }

    void PutEntry(std::uint64_t entry) {
        if (EntrySize() == 8) {
            writer.Put<std::uint64_t>(entry);
        } else {
            // The bit that marks an ordinal is the highest of either size.
            writer.Put(static_cast<std::uint32_t>(entry));
        }
    }

    void SetDescriptor(std::size_t index, std::uint32_t lookup, std::uint32_t name, std::uint32_t addresses) {
        writer.Set<std::uint32_t>(descriptorsAt + 20 * index, lookup);
        writer.Set<std::uint32_t>(descriptorsAt + 20 * index + 12, name);
        writer.Set<std::uint32_t>(descriptorsAt + 20 * index + 16, addresses);
    }

    // Each DLL's name and its functions, an ordinal as "#5".
    std::vector<std::vector<std::string>> ImportsOf(const std::string& bytes) const {
        const ExactFile file(bytes);
        const CheckedView view = file.View();
        const auto resolve = [&view](std::uint32_t rva) { return view.Start() + rva; };
        std::vector<std::vector<std::string>> texts;
        for (const ImportedDll& dll : ImportedFunctions(view, resolve(descriptorsAt), GetParam(), resolve)) {
            texts.push_back({std::string(dll.name)});
            for (const ImportedFunction& function : dll.functions) {
                texts.back().push_back(function.ordinal ? "#" + std::to_string(*function.ordinal)
                                                        : std::string(function.name));
            }
        }
        return texts;
    }

    std::vector<std::vector<std::string>> Imports() const { return ImportsOf(writer.Bytes()); }

    ByteWriter writer;
};

TEST_P(ImportTables, FunctionsComeByNameAndByOrdinalInTheTablesOrder) {
    SetDescriptor(0, PutLookup({PutFunctionName("First"), Ordinal(5), PutFunctionName("Second")}),
                  PutText("one.dll"), 0);
    SetDescriptor(1, PutLookup({Ordinal(0xFFFF)}), PutText("two.dll"), 0);
    EXPECT_THAT(Imports(), ElementsAre(ElementsAre("one.dll", "First", "#5", "Second"),
                                       ElementsAre("two.dll", "#65535")));
}

TEST_P(ImportTables, AddressTableReplacesAMissingLookupTable) {
    const std::uint32_t names = PutLookup({PutFunctionName("Lookup")});
    const std::uint32_t addresses = PutLookup({PutFunctionName("Address")});
    SetDescriptor(0, names, PutText("both.dll"), addresses);
    SetDescriptor(1, 0, PutText("one.dll"), addresses);
    EXPECT_THAT(Imports(), ElementsAre(ElementsAre("both.dll", "Lookup"), ElementsAre("one.dll", "Address")));
}

TEST_P(ImportTables, NameOutsideOfTheFileIsSkipped) {
    SetDescriptor(0, PutLookup({0x00F00000, PutFunctionName("Kept")}), PutText("one.dll"), 0);
    SetDescriptor(1, PutLookup({Ordinal(1)}), 0x00F00000, 0);
    SetDescriptor(2, 0x00F00000, PutText("two.dll"), 0);
    EXPECT_THAT(Imports(), ElementsAre(ElementsAre("one.dll", "Kept"), ElementsAre("two.dll")));
}

TEST_P(ImportTables, EmptyNameIsSkipped) {
    SetDescriptor(0, PutLookup({PutFunctionName(""), PutFunctionName("Kept")}), PutText("one.dll"), 0);
    EXPECT_THAT(Imports(), ElementsAre(ElementsAre("one.dll", "Kept")));
}

TEST_P(ImportTables, OnlyTheHighestBitOfAnEntryMarksAnOrdinal) {
    constexpr std::uint64_t highestOf32Bits = 0x80000005;
    SetDescriptor(0, PutLookup({highestOf32Bits}), PutText("one.dll"), 0);
    if (GetParam() == LookupEntry::bits32) {
        EXPECT_THAT(Imports(), ElementsAre(ElementsAre("one.dll", "#5")));
    } else {
        EXPECT_THAT(Imports(), ElementsAre(ElementsAre("one.dll")));
    }
}

TEST_P(ImportTables, LookupTableThatRunsPastTheEndEndsThere) {
    const std::uint32_t name = PutText("one.dll");
    SetDescriptor(0, static_cast<std::uint32_t>(writer.Size()), name, 0);
    PutEntry(Ordinal(1));
    PutEntry(Ordinal(2));
    EXPECT_THAT(ImportsOf(writer.Bytes().substr(0, writer.Size() - 1)),
                ElementsAre(ElementsAre("one.dll", "#1")));
}

TEST_P(ImportTables, DescriptorsThatRunPastTheEndEndThere) {
    for (const std::size_t descriptor : {0U, 1U}) {
        SetDescriptor(descriptor, 0, descriptorsAt, 0);
    }
    EXPECT_THAT(ImportsOf(writer.Bytes().substr(0, descriptorsAt + 20 * 2 - 1)), SizeIs(1));
}

TEST_P(ImportTables, SharedTableNamesNoMoreThanTheFileHasRoomFor) {
    const std::uint32_t name = PutText("same.dll");
    const std::uint32_t table = PutLookup(std::vector<std::uint64_t>(64, Ordinal(9)));
    const auto first = static_cast<std::uint32_t>(writer.Size());
    constexpr std::size_t descriptors = 1000;
    writer.FillTo(first + 20 * (descriptors + 1));
    for (std::size_t i = 0; i < descriptors; ++i) {
        writer.Set<std::uint32_t>(first + 20 * i, table);
        writer.Set<std::uint32_t>(first + 20 * i + 12, name);
    }
    const ExactFile file(writer.Bytes());
    const CheckedView view = file.View();
    const auto resolve = [&view](std::uint32_t rva) { return view.Start() + rva; };
    std::size_t functions = 0;
    for (const ImportedDll& dll : ImportedFunctions(view, resolve(first), GetParam(), resolve)) {
        functions += dll.functions.size();
    }
    EXPECT_EQ(functions, writer.Size() / EntrySize());
}

TEST_P(ImportTables, NoTableHasNoImports) {
    const CheckedView view;
    const auto resolve = [](std::uint32_t) -> const std::byte* { return nullptr; };
    EXPECT_THAT(ImportedFunctions(view, nullptr, GetParam(), resolve), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(Bitness, ImportTables, testing::Values(LookupEntry::bits32, LookupEntry::bits64));

class ExportedOrdinals : public testing::Test {
protected:
    bool Has(std::uint16_t ordinal) const {
        const ExactFile file(image.bytes);
        const CheckedView view = file.View();
        const auto resolve = [&view](std::uint32_t rva) { return testsupport::PlaceBySections(view, rva); };
        return ExportTableHasOrdinal(view, testsupport::DirectoryBySections(view, 0), resolve, ordinal);
    }

    // Ordinals 1 and 2 have names and addresses; 3 to 5 have neither.
    BuiltImage image = ImageBuilder().Exports({"DllCanUnloadNow", "DllRegisterServer"}, 3).Build();
};

TEST_F(ExportedOrdinals, AreThoseWithAnAddress) {
    EXPECT_FALSE(Has(0));
    EXPECT_TRUE(Has(1));
    EXPECT_TRUE(Has(2));
    EXPECT_FALSE(Has(3));
    EXPECT_FALSE(Has(6));
    EXPECT_FALSE(Has(0xFFFF));
}

TEST_F(ExportedOrdinals, CountFromTheDirectorysBase) {
    image.Set<std::uint32_t>("exports", 16, 100);
    EXPECT_FALSE(Has(1));
    EXPECT_FALSE(Has(99));
    EXPECT_TRUE(Has(100));
    EXPECT_TRUE(Has(101));
    EXPECT_FALSE(Has(102));
}

TEST_F(ExportedOrdinals, TableOutsideOfTheFileHasNone) {
    image.Set<std::uint32_t>("exports", 20, 0xFFFFFFFF);
    EXPECT_FALSE(Has(0xFFFE));
    image.Set<std::uint32_t>("exports", 28, 0xFFFFFFFF);
    EXPECT_FALSE(Has(1));
}

} // namespace
} // namespace keyreap
