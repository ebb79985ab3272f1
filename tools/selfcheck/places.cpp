#include "tools/selfcheck/places.h"

#include <cstring>
#include <fstream>
#include <iterator>

namespace keyreap {

namespace {

void Replace(std::wstring& text, std::wstring_view from, std::wstring_view to) {
    for (std::size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

// As a text of a .reg file contains it.
std::wstring Doubled(std::wstring path) {
    Replace(path, L"\\", L"\\\\");
    return path;
}

} // namespace

std::string ContentOf(const std::filesystem::path& file) {
    std::ifstream stream(file, std::ios::binary);
    return {std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>()};
}

std::string GoldenOf(const Places& places, const std::string& name, const std::filesystem::path& captured) {
    const std::string bytes = ContentOf(places.golden / name);
    std::wstring text(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data(), text.size() * sizeof(wchar_t));
    Replace(text, L"{MODULE}", Doubled(captured.wstring()));
    Replace(text, L"{FOLDER}", Doubled(captured.parent_path().wstring()));
    return {reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)};
}

} // namespace keyreap
