#include "platform/os/file/widepath.h"

namespace keyreap {

namespace {

constexpr std::size_t extendedLengthThreshold = 248;
constexpr std::size_t maxPathThreshold = 260;
constexpr std::wstring_view twoBackslashes = L"\\\\";

std::wstring WithExtendedPrefix(std::wstring_view text) {
    std::wstring result(extendedPrefix);
    result += text;
    return result;
}

bool IsAbsolute(std::wstring_view text) {
    return text.starts_with(twoBackslashes) || (text.size() > 1 && text[1] == L':');
}

} // namespace

bool HasExtendedPrefix(std::wstring_view text) {
    return text.starts_with(extendedPrefix);
}

std::wstring_view StripExtendedPrefix(std::wstring_view text) {
    if (HasExtendedPrefix(text)) {
        text.remove_prefix(extendedPrefix.size());
    }
    return text;
}

std::wstring NormalizePath(std::wstring_view text) {
    const std::size_t last = text.find_last_not_of(L'\\');
    if (last == std::wstring_view::npos) {
        return {};
    }
    const std::size_t first = text.find_first_not_of(L'\\');
    const std::wstring_view body = text.substr(first, last + 1 - first);
    std::wstring result(first >= twoBackslashes.size() ? twoBackslashes : std::wstring_view());
    result += body;
    return result;
}

std::wstring ExtendedLengthForm(std::wstring_view text) {
    // A path on a share also gets the plain prefix before its two backslashes, never the "UNC" form.
    if (text.size() >= extendedLengthThreshold && IsAbsolute(text) && !HasExtendedPrefix(text)) {
        return WithExtendedPrefix(text);
    }
    return std::wstring(text);
}

std::wstring PrefixedFromMaxPath(std::wstring_view text) {
    if (text.size() >= maxPathThreshold && !HasExtendedPrefix(text)) {
        return WithExtendedPrefix(text);
    }
    return std::wstring(text);
}

bool IsUncPath(std::wstring_view text) {
    return text.size() >= 3 && text.starts_with(twoBackslashes) && text[2] != L'?';
}

WidePath::WidePath(std::wstring_view source) : text(NormalizePath(StripExtendedPrefix(source))) {}

void WidePath::Append(std::wstring_view component) {
    const WidePath normalized(component);
    if (normalized.IsEmpty()) {
        return;
    }
    if (!text.empty()) {
        text += L'\\';
    }
    text += normalized.text;
}

WidePath WidePath::Combine(std::wstring_view component) {
    Append(component);
    return *this;
}

std::wstring WidePath::FileName() const {
    std::size_t separator = text.rfind(L'\\');
    if (separator == std::wstring::npos) {
        // Deliberate: ">" is a second separator.
        separator = text.rfind(L'>');
    }
    return separator == std::wstring::npos ? text : text.substr(separator + 1);
}

std::wstring WidePath::FileStem() const {
    const std::wstring name = FileName();
    return name.substr(0, name.rfind(L'.'));
}

WidePath WidePath::Parent() const {
    const std::size_t separator = text.rfind(L'\\');
    const bool belongsToLeadingPair = separator == 1 && text[0] == L'\\';
    if (separator == std::wstring::npos || belongsToLeadingPair) {
        return {};
    }
    return WidePath(std::wstring_view(text).substr(0, separator));
}

std::wstring WidePath::ExtendedLengthForm() const {
    return keyreap::ExtendedLengthForm(text);
}

} // namespace keyreap
