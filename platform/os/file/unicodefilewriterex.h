#pragma once

#include "platform/os/file/textencoding.h"
#include "platform/os/ownedhandle.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace keyreap {

struct TextFileSettings {
    static constexpr std::uint32_t noCodePage = 0xFFFFFFFF;

    TextEncoding encoding = TextEncoding::utf16LittleEndianWithMark;
    std::uint32_t codePage = noCodePage; // if set, text is converted to it and `encoding` is not used
    bool append = false;                 // open at the end of an existing file
};

enum class TextFileWriteResult {
    written = 0,
    noOpenFile = 1,
    notUsed = 2,
    noBytes = 3, // the conversion gave none
    writeFailed = 4,
};

// Writes text to a file, each Write at once and in one piece. Others may read the file at the same time.
class UnicodeFileWriterEx {
public:
    // Opens the file, and empties it unless `append` is set. If it can't be opened, the first Write reports
    // that. `path` is in the form for the file API.
    explicit UnicodeFileWriterEx(std::wstring path, TextFileSettings settings = {});

    // Writes the text as it is; in an empty file the byte order mark comes first. Raises Exception with a
    // message that names the file if there is no open file or the system wrote less than asked, and with a
    // message without the name if the text has no bytes in the encoding. What was written before stays.
    void Write(std::wstring_view text);

    // The same with the outcome as a value.
    TextFileWriteResult WriteText(std::wstring_view text);

private:
    void OpenFile();
    bool HasCodePage() const;
    bool WritesTextMemory() const;
    std::size_t MarkLength() const;
    std::string Encode(std::wstring_view text) const;
    TextFileWriteResult WriteBytes(std::string_view bytes);

    std::wstring path;
    TextFileSettings settings;
    OwnedFile file;
};

} // namespace keyreap
