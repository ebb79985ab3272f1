#pragma once

#include "regmodel/regbytes.h"
#include "regmodel/regtextreader.h"
#include "regmodel/regtextwriter.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <string>
#include <string_view>

// .reg files as texts, for tests.
namespace keyreap::testsupport {

using Bytes = std::vector<std::uint8_t>;

constexpr std::wstring_view headerLine = L"Windows Registry Editor Version 5.00\r\n";

inline Bytes Utf16(std::wstring_view text) {
    return BytesOfUnits(text, RegEncoding::Utf16).value();
}

// The bytes of a file with the header and this content.
inline Bytes File(std::wstring_view content) {
    return Utf16(std::wstring(headerLine).append(content));
}

inline Bytes EightBit(std::string_view text) {
    return Bytes(text.begin(), text.end());
}

inline RegDocument ReadBytes(const Bytes& bytes) {
    const auto result = ReadRegDocument(bytes);
    const auto* document = std::get_if<RegDocument>(&result);
    EXPECT_NE(document, nullptr);
    return document == nullptr ? RegDocument() : *document;
}

inline RegDocument Read(std::wstring_view content) {
    return ReadBytes(File(content));
}

// The error's text without the file's name.
inline std::wstring ErrorOfBytes(const Bytes& bytes) {
    const auto result = ReadRegDocument(bytes);
    const auto* error = std::get_if<RegReadError>(&result);
    EXPECT_NE(error, nullptr);
    return error == nullptr ? L"" : ErrorText(L"", *error);
}

inline std::wstring ErrorOf(std::wstring_view content) {
    return ErrorOfBytes(File(content));
}

// The entries of a key with these lines.
inline std::vector<RegEntry> EntriesOf(std::wstring_view lines) {
    const RegDocument document = Read(std::wstring(L"\r\n[K]\r\n").append(lines));
    return document.sections.empty() ? std::vector<RegEntry>() : document.sections.front().entries;
}

inline RegEntry EntryOf(std::wstring_view lines) {
    const std::vector<RegEntry> entries = EntriesOf(lines);
    EXPECT_EQ(entries.size(), 1u);
    return entries.empty() ? RegEntry() : entries.front();
}

inline std::wstring Written(const RegDocument& document) {
    const auto bytes = WriteRegDocument(document);
    EXPECT_TRUE(bytes.has_value());
    return bytes ? UnitsOfBytes(*bytes, document.style.encoding) : L"";
}

// A file with this content is written as it was read.
inline void ExpectSame(std::wstring_view content) {
    EXPECT_EQ(Written(Read(content)), std::wstring(headerLine).append(content));
}

// The keys of every harvest.
inline std::wstring HarvestWith(std::wstring_view classes) {
    return std::wstring(L"\r\n[HKEY_CLASSES_ROOT]\r\n")
        .append(classes)
        .append(L"\r\n[HKEY_CURRENT_USER]\r\n\r\n[HKEY_USERS]\r\n\r\n[HKEY_LOCAL_MACHINE]\r\n"
                L"\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n\r\n[HKEY_LOCAL_MACHINE\\Software\\Classes]\r\n");
}

} // namespace keyreap::testsupport
