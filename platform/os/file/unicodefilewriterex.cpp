#include "platform/os/file/unicodefilewriterex.h"

#include "platform/core/exceptionhandling.h"
#include "platform/core/messageids.h"
#include "platform/core/text/text.h"

#include <limits>
#include <utility>

namespace keyreap {

namespace {

constexpr wchar_t sourceName[] = L"unicodefilewriterex";

bool IsEmptyFile(HANDLE file) {
    DWORD high = 0;
    const DWORD low = GetFileSize(file, &high);
    return low == 0 && high == 0;
}

// The text's memory, which is already UTF-16 little endian.
std::string_view BytesOf(std::wstring_view text) {
    static_assert(sizeof(wchar_t) == 2);
    return {reinterpret_cast<const char*>(text.data()), text.size() * 2};
}

// Deliberate: constant line numbers, because reports contain them. They are not lines of this file.
[[noreturn]] void Raise(TextFileWriteResult result, const std::wstring& path) {
    switch (result) {
    case TextFileWriteResult::noBytes:
        throw Exception(sourceName, 44, messageid::conversionFailed);
    case TextFileWriteResult::noOpenFile:
        throw Exception(sourceName, 47, messageid::fileNotOpen, {path});
    case TextFileWriteResult::writeFailed:
        throw Exception(sourceName, 50, messageid::writeFailed, {path});
    default:
        throw Exception(sourceName, 54, messageid::fileNotOpen, {path});
    }
}

} // namespace

UnicodeFileWriterEx::UnicodeFileWriterEx(std::wstring path, TextFileSettings settings)
    : path(std::move(path)), settings(settings) {
    OpenFile();
}

void UnicodeFileWriterEx::OpenFile() {
    file.Reset(CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr,
                           settings.append ? OPEN_ALWAYS : CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    if (settings.append) {
        SetFilePointer(file.Get(), 0, nullptr, FILE_END);
    }
}

void UnicodeFileWriterEx::Write(std::wstring_view text) {
    const TextFileWriteResult result = WriteText(text);
    if (result != TextFileWriteResult::written) {
        Raise(result, path);
    }
}

TextFileWriteResult UnicodeFileWriterEx::WriteText(std::wstring_view text) {
    if (!file.Valid()) {
        return TextFileWriteResult::noOpenFile;
    }
    if (text.empty()) {
        return TextFileWriteResult::written;
    }
    const bool isFirst = IsEmptyFile(file.Get());
    if (WritesTextMemory() && !isFirst) {
        return WriteBytes(BytesOf(text));
    }
    const std::string bytes = Encode(text);
    if (bytes.empty()) {
        return TextFileWriteResult::noBytes;
    }
    return WriteBytes(std::string_view(bytes).substr(isFirst ? 0 : MarkLength()));
}

bool UnicodeFileWriterEx::HasCodePage() const {
    return settings.codePage != TextFileSettings::noCodePage;
}

// Such text needs no copy once the byte order mark is written. Most writes are of this kind.
bool UnicodeFileWriterEx::WritesTextMemory() const {
    return !HasCodePage() && settings.encoding == TextEncoding::utf16LittleEndianWithMark;
}

std::size_t UnicodeFileWriterEx::MarkLength() const {
    return HasCodePage() ? 0 : ByteOrderMark(settings.encoding).size();
}

std::string UnicodeFileWriterEx::Encode(std::wstring_view text) const {
    return HasCodePage() ? WideToMultiByte(text, settings.codePage) : EncodeText(text, settings.encoding);
}

TextFileWriteResult UnicodeFileWriterEx::WriteBytes(std::string_view bytes) {
    DWORD written = 0;
    const bool fits = bytes.size() <= std::numeric_limits<DWORD>::max();
    if (!fits || !WriteFile(file.Get(), bytes.data(), static_cast<DWORD>(bytes.size()), &written, nullptr)) {
        return TextFileWriteResult::writeFailed;
    }
    return written < bytes.size() ? TextFileWriteResult::writeFailed : TextFileWriteResult::written;
}

} // namespace keyreap
