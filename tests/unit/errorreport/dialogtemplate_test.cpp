#include "platform/core/errorreport/dialogtemplate.h"
#include "tests/unit/errorreport/templatereader.h"

#include <gtest/gtest.h>

namespace keyreap {
namespace {

using testsupport::ReadDialogTemplate;

const DialogTemplateBuilder empty(L"T", 0x80CC08C0, 0x00040000, {1, 2, 3, 4});

DialogTemplateBuilder WithControl(TemplateControl control) {
    DialogTemplateBuilder builder = empty;
    builder.AddControl(std::move(control));
    return builder;
}

std::vector<unsigned> Bytes(const DialogTemplateBuilder& builder) {
    std::vector<std::byte> bytes(builder.Build(nullptr));
    builder.Build(bytes.data());
    std::vector<unsigned> numbers;
    for (const std::byte byte : bytes) {
        numbers.push_back(std::to_integer<unsigned>(byte));
    }
    return numbers;
}

TEST(DialogTemplateBuilder, WritesTheHeaderByteByByte) {
    EXPECT_EQ(Bytes(empty), (std::vector<unsigned>{
                                0xC0, 0x08, 0xCC, 0x80, // style
                                0x00, 0x00, 0x04, 0x00, // extended style
                                0,    0,                // count of controls
                                1,    0,    2,    0,    // x, y
                                3,    0,    4,    0,    // width, height
                                0,    0,    0,    0,    // no menu, no class
                                'T',  0,    0,    0,    // title
                                8,    0,                // points
                                'M',  0,    'S',  0,    ' ', 0,   'S', 0,   'h', 0,   'e', 0, 'l',
                                0,    'l',  0,    ' ',  0,   'D', 0,   'l', 0,   'g', 0,   0, 0, // font
                                0,    0                                                          // to 4 bytes
                            }));
}

TEST(DialogTemplateBuilder, WritesAControlByteByByte) {
    const auto all =
        Bytes(WithControl({std::uint16_t{0x80}, 0x1F7, L"Go", 0x50000001, 0x200, {-1, 37, 50, 14}}));
    const std::vector<unsigned> control(all.begin() + static_cast<std::ptrdiff_t>(Bytes(empty).size()),
                                        all.end());
    EXPECT_EQ(control, (std::vector<unsigned>{
                           0x01, 0x00, 0x00, 0x50,       // style
                           0x00, 0x02, 0x00, 0x00,       // extended style
                           0xFF, 0xFF, 37,   0,          // x, y
                           50,   0,    14,   0,          // width, height
                           0xF7, 0x01,                   // id
                           0xFF, 0xFF, 0x80, 0x00,       // class by number
                           'G',  0,    'o',  0,    0, 0, // text
                           0,    0,                      // no creation data
                           0,    0                       // to 4 bytes
                       }));
}

TEST(DialogTemplateBuilder, CountsTheControls) {
    DialogTemplateBuilder builder = empty;
    for (std::uint16_t id = 1; id <= 3; ++id) {
        builder.AddControl({std::uint16_t{0x80}, id, L"", 0, 0, {0, 0, 1, 1}});
    }
    const auto read = ReadDialogTemplate(builder);
    EXPECT_EQ(read.count, 3);
    EXPECT_EQ(read.controls[0].id, 1);
    EXPECT_EQ(read.controls[2].id, 3);
}

TEST(DialogTemplateBuilder, StartsEachControlAtAMultipleOfFour) {
    for (const wchar_t* text : {L"", L"a", L"ab", L"abc"}) {
        DialogTemplateBuilder builder = WithControl({std::uint16_t{0x80}, 1, text, 0, 0, {0, 0, 1, 1}});
        builder.AddControl({std::uint16_t{0x80}, 2, L"next", 0, 0, {0, 0, 1, 1}});
        const auto read = ReadDialogTemplate(builder);
        EXPECT_EQ(read.controls[0].offset % 4, 0u);
        EXPECT_EQ(read.controls[1].offset % 4, 0u);
        EXPECT_EQ(read.controls[1].id, 2);
    }
}

TEST(DialogTemplateBuilder, WritesAClassByNameAsText) {
    const auto read = ReadDialogTemplate(WithControl({L"SysLink", 1, L"text", 0, 0, {0, 0, 1, 1}}));
    EXPECT_EQ(read.controls[0].windowClass, TemplateName(L"SysLink"));
}

TEST(DialogTemplateBuilder, WritesATextByNumber) {
    const auto read =
        ReadDialogTemplate(WithControl({std::uint16_t{0x82}, 1, std::uint16_t{32513}, 0, 0, {0, 0, 1, 1}}));
    EXPECT_EQ(read.controls[0].text, TemplateName(std::uint16_t{32513}));
}

TEST(DialogTemplateBuilder, TextNumberZeroIsNoText) {
    const auto none = WithControl({std::uint16_t{0x82}, 1, std::uint16_t{0}, 0, 0, {0, 0, 1, 1}});
    const auto emptyText = WithControl({std::uint16_t{0x82}, 1, L"", 0, 0, {0, 0, 1, 1}});
    EXPECT_EQ(Bytes(none), Bytes(emptyText));
    EXPECT_EQ(ReadDialogTemplate(none).controls[0].text, TemplateName(L""));
}

TEST(DialogTemplateBuilder, AZeroUnitEndsAText) {
    const std::wstring text(L"seen\0unseen", 11);
    const auto read = ReadDialogTemplate(WithControl({std::uint16_t{0x82}, 1, text, 0, 0, {0, 0, 1, 1}}));
    EXPECT_EQ(read.controls[0].text, TemplateName(L"seen"));
    EXPECT_EQ(read.controls[0].creationDataSize, 0);
}

TEST(DialogTemplateBuilder, ReturnsTheSizeThatItThenWrites) {
    const auto builder = WithControl({std::uint16_t{0x80}, 1, L"text", 0, 0, {0, 0, 1, 1}});
    const std::size_t size = builder.Build(nullptr);
    std::vector<std::byte> bytes(size + 4, std::byte{0xAA});
    EXPECT_EQ(builder.Build(bytes.data()), size);
    EXPECT_EQ(bytes[size], std::byte{0xAA});
    EXPECT_EQ(testsupport::ReadDialogTemplate(bytes).size, size);
}

} // namespace
} // namespace keyreap
