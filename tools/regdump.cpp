// regdump FILE: prints what a .reg file contains, a line for each key and each entry. Exits with 0; with 1 if
// the file can't be read; with 2 if the arguments are others.
#include "platform/core/text/text.h"
#include "regmodel/regtextreader.h"
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

int Run(const std::vector<std::filesystem::path>& arguments) {
    if (arguments.size() != 1) {
        std::cerr << "usage: regdump FILE\n";
        return 2;
    }
    const std::optional<Bytes> bytes = ContentOf(arguments.front());
    if (!bytes) {
        std::cerr << "regdump: the file can't be opened\n";
        return 1;
    }
    const auto result = keyreap::ReadRegDocument(*bytes);
    if (const auto* error = std::get_if<keyreap::RegReadError>(&result)) {
        std::cerr << Escaped(keyreap::ErrorText(arguments.front().filename().wstring(), *error)) << '\n';
        return 1;
    }
    PrintDocument(std::get<keyreap::RegDocument>(result));
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
