// regdump FILE: prints what a .reg file contains, a line for each key and each entry.
// regdump --rewrite FILE OUT: writes what was read as a .reg file again.
// Exits with 0; with 1 if the file can't be read, or the other one not be written; with 2 if the arguments
// are others.
#include "platform/core/text/text.h"
#include "regmodel/regtextreader.h"
#include "regmodel/regtextwriter.h"
#include "regmodel/straynames.h"

#include <filesystem>
#include <fstream>
#include <iostream>
#include <iterator>
#include <optional>
#include <string>
#include <vector>

namespace {

using Bytes = std::vector<std::uint8_t>;

std::optional<Bytes> ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    Bytes bytes(std::istreambuf_iterator<char>(stream), {});
    return stream.is_open() && !stream.bad() ? std::optional(std::move(bytes)) : std::nullopt;
}

// Printable ASCII verbatim, every other unit and the backslash as \uXXXX, so that a field has no tab and no
// line end.
std::string Escaped(std::wstring_view text) {
    std::string escaped;
    for (const wchar_t unit : text) {
        if (unit >= L' ' && unit <= L'~' && unit != L'\\') {
            escaped += static_cast<char>(unit);
            continue;
        }
        escaped += "\\u";
        for (const wchar_t digit : keyreap::HexToText(static_cast<std::uint16_t>(unit), 4)) {
            escaped += static_cast<char>(digit);
        }
    }
    return escaped;
}

std::string HexOf(const Bytes& bytes) {
    std::wstring digits;
    for (const std::uint8_t byte : bytes) {
        keyreap::AppendHexByte(digits, byte);
    }
    return Escaped(digits);
}

const char* WordOf(const keyreap::RegEntry& entry) {
    switch (entry.kind) {
    case keyreap::RegEntryKind::Value:
        return keyreap::IsFiller(entry) ? "filler" : "value";
    case keyreap::RegEntryKind::Deletion:
        return "deletion";
    case keyreap::RegEntryKind::Damaged:
        return "damaged";
    default:
        return "other text";
    }
}

void PrintEntry(const keyreap::RegEntry& entry) {
    std::cout << WordOf(entry) << '\t' << Escaped(entry.name) << '\t' << entry.type << '\t'
              << HexOf(entry.data) << '\t' << Escaped(entry.otherText)
              << Escaped(keyreap::ExpectedInstead(entry)) << '\n';
}

const char* NoteOn(const keyreap::RegSection& section) {
    if (section.isCapturesOwn) {
        return "\tcapture's own";
    }
    switch (keyreap::StrayNameOf(section.path)) {
    case keyreap::StrayName::TemporaryTree:
        return "\tof the temporary tree";
    case keyreap::StrayName::NoRoot:
        return "\twithout a root";
    default:
        return "";
    }
}

void PrintDocument(const keyreap::RegDocument& document) {
    for (const keyreap::RegSection& section : document.sections) {
        const char* const word = section.isDeletion ? "deleted key" : "key";
        std::cout << word << '\t' << Escaped(section.path) << NoteOn(section) << '\n';
        for (const keyreap::RegEntry& entry : section.entries) {
            PrintEntry(entry);
        }
    }
    for (const keyreap::RegAmbiguity& place : document.ambiguities) {
        std::cout << "ambiguous\t" << place.line << '\t' << Escaped(place.reading) << '\n';
    }
}

// Says why on standard error if there is no document.
std::optional<keyreap::RegDocument> DocumentOf(const std::filesystem::path& file) {
    const std::optional<Bytes> bytes = ContentOf(file);
    if (!bytes) {
        std::cerr << "regdump: the file can't be opened\n";
        return std::nullopt;
    }
    auto result = keyreap::ReadRegDocument(*bytes);
    if (const auto* error = std::get_if<keyreap::RegReadError>(&result)) {
        std::cerr << Escaped(keyreap::ErrorText(file.filename().wstring(), *error)) << '\n';
        return std::nullopt;
    }
    return std::get<keyreap::RegDocument>(std::move(result));
}

bool Write(const keyreap::RegDocument& document, const std::filesystem::path& file) {
    const std::optional<Bytes> bytes = keyreap::WriteRegDocument(document);
    std::ofstream stream(file, std::ios::binary | std::ios::trunc);
    if (bytes) {
        stream.write(reinterpret_cast<const char*>(bytes->data()),
                     static_cast<std::streamsize>(bytes->size()));
    }
    stream.close();
    return bytes && !stream.fail();
}

int Run(const std::vector<std::filesystem::path>& arguments) {
    const bool isRewritten = arguments.size() == 3 && arguments.front() == "--rewrite";
    if (arguments.size() != 1 && !isRewritten) {
        std::cerr << "usage: regdump FILE, or regdump --rewrite FILE OUT\n";
        return 2;
    }
    const std::optional<keyreap::RegDocument> document = DocumentOf(arguments[isRewritten ? 1 : 0]);
    if (!document) {
        return 1;
    }
    if (isRewritten) {
        return Write(*document, arguments.back()) ? 0 : 1;
    }
    PrintDocument(*document);
    return 0;
}

} // namespace

#ifdef _WIN32
int wmain(int argc, wchar_t** argv) {
#else
int main(int argc, char** argv) {
#endif
    return Run({argv + 1, argv + argc});
}
