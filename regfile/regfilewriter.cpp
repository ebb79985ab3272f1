#include "regfile/regfilewriter.h"

#include "regfile/regtext.h"

namespace keyreap {

namespace {

std::wstring HeaderLine(std::wstring_view opening, std::wstring_view keyPath) {
    std::wstring line;
    line.reserve(opening.size() + keyPath.size() + 5);
    return line.append(L"\r\n").append(opening).append(keyPath).append(L"]\r\n");
}

} // namespace

RegFileWriter::RegFileWriter(std::wstring_view path) : file(std::wstring(path)) {
    file.Write(L"Windows Registry Editor Version 5.00\r\n");
}

void RegFileWriter::AddReplacement(std::wstring_view from, std::wstring_view to) {
    replacements.push_back({std::wstring(from), std::wstring(to)});
}

void RegFileWriter::AddKey(std::wstring_view keyPath) {
    file.Write(HeaderLine(L"[", keyPath));
}

void RegFileWriter::AddDeletedKey(std::wstring_view keyPath) {
    file.Write(HeaderLine(L"[-", keyPath));
}

void RegFileWriter::AddValue(std::wstring_view name, const ValueText& text, std::uint32_t type) {
    file.Write(FormatValueEntry(name, text, type, replacements));
}

} // namespace keyreap
