#include "tests/endtoend/harness/golden.h"

#include "tests/endtoend/harness/settings.h"
#include "tests/endtoend/harness/stricthost.h"

#include <algorithm>
#include <cstring>

namespace keyreap::endtoend {

namespace {

std::wstring UnitsOf(const Bytes& bytes) {
    std::wstring units(bytes.size() / sizeof(wchar_t), L'\0');
    std::memcpy(units.data(), bytes.data(), units.size() * sizeof(wchar_t));
    return units;
}

Bytes BytesOf(const std::wstring& units) {
    Bytes bytes(units.size() * sizeof(wchar_t));
    std::memcpy(bytes.data(), units.data(), bytes.size());
    return bytes;
}

void Replace(std::wstring& text, const std::wstring& from, const std::wstring& to) {
    for (std::size_t at = text.find(from); at != std::wstring::npos; at = text.find(from, at + to.size())) {
        text.replace(at, from.size(), to);
    }
}

// The units before and after a place; those that are not printable ASCII are shown as numbers.
std::string Excerpt(const std::wstring& text, std::size_t at) {
    constexpr std::size_t around = 60;
    const std::size_t begin = at < around ? 0 : at - around;
    std::string excerpt;
    for (const wchar_t unit : text.substr(begin, 2 * around)) {
        const bool plain = unit >= L' ' && unit < 0x7F;
        excerpt += plain ? std::string(1, static_cast<char>(unit)) : "<" + std::to_string(unit) + ">";
    }
    return excerpt;
}

} // namespace

Bytes Golden(const std::string& name, const Placeholders& placeholders) {
    const std::wstring path = TestSettings().golden + L"\\" + std::wstring(name.begin(), name.end());
    const std::optional<Bytes> bytes = ReadBytes(path);
    if (!bytes) {
        ADD_FAILURE() << "There is no golden file " << name;
        return {};
    }
    std::wstring text = UnitsOf(*bytes);
    for (const auto& [from, to] : placeholders) {
        Replace(text, from, Doubled(to));
    }
    return BytesOf(text);
}

Placeholders PathsOf(const std::wstring& file) {
    return {{L"{MODULE}", file}, {L"{FOLDER}", ParentOf(file)}};
}

Bytes Document(const std::wstring& body) {
    return BytesOf(L"\uFEFFWindows Registry Editor Version 5.00\r\n" + body);
}

std::wstring UntouchedRoots() {
    return L"\r\n[HKEY_CLASSES_ROOT]\r\n"
           L"\r\n[HKEY_CURRENT_USER]\r\n"
           L"\r\n[HKEY_USERS]\r\n"
           L"\r\n[HKEY_LOCAL_MACHINE]\r\n";
}

std::wstring RedirectedRoots() {
    return UntouchedRoots() + L"\r\n[HKEY_LOCAL_MACHINE\\Software]\r\n"
                              L"\r\n[HKEY_LOCAL_MACHINE\\Software\\Classes]\r\n";
}

std::wstring Doubled(const std::wstring& path) {
    std::wstring text = path;
    Replace(text, L"\\", L"\\\\");
    return text;
}

testing::AssertionResult Holds(const std::wstring& file, const Bytes& expected) {
    const std::optional<Bytes> actual = ReadBytes(file);
    if (!actual) {
        return testing::AssertionFailure() << "there is no such file";
    }
    const bool hasUnits = actual->size() % sizeof(wchar_t) == 0;
    const testing::AssertionResult result = HostIsStrict() && hasUnits
                                                ? DifferAsListed(file, UnitsOf(*actual), UnitsOf(expected))
                                                : testing::AssertionResult(*actual == expected);
    if (result) {
        return result;
    }
    const auto [inActual, inExpected] =
        std::mismatch(actual->begin(), actual->end(), expected.begin(), expected.end());
    const auto at = static_cast<std::size_t>(inActual - actual->begin()) / sizeof(wchar_t);
    return testing::AssertionFailure()
           << actual->size() << " bytes for " << expected.size() << ", and from unit " << at << " on\n"
           << Excerpt(UnitsOf(*actual), at) << "\nfor\n"
           << Excerpt(UnitsOf(expected), at) << result.message();
}

} // namespace keyreap::endtoend
