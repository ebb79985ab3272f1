#include "platform/os/file/widepath.h"
#include "tests/native/fuzzinput.h"

using namespace keyreap;

namespace {

bool IsNormal(std::wstring_view text) {
    const std::size_t first = text.find_first_not_of(L'\\');
    return text.empty() || (text.back() != L'\\' && (first == 0 || first == 2));
}

void TryForms(const WidePath& path) {
    const std::wstring& text = path.Text();
    fuzz::Require(IsNormal(text));
    fuzz::Require(NormalizePath(text) == text);
    const std::wstring form = path.ExtendedLengthForm();
    fuzz::Require(form == text || form == std::wstring(extendedPrefix) + text);
    fuzz::Require(form == text || text.size() >= 248);
    fuzz::Require(ExtendedLengthForm(form) == form);
    const std::wstring removable = PrefixedFromMaxPath(text);
    fuzz::Require(HasExtendedPrefix(removable) || (removable == text && text.size() < 260));
}

void TryParts(const WidePath& path) {
    const std::wstring name = path.FileName();
    fuzz::Require(path.Text().ends_with(name) && name.find(L'\\') == std::wstring::npos);
    fuzz::Require(name.starts_with(path.FileStem()));
    fuzz::Require(name == path.FileStem() || name[path.FileStem().size()] == L'.');
    const WidePath parent = path.Parent();
    fuzz::Require(IsNormal(parent.Text()) && parent.Text().size() <= path.Text().size());
}

void TryJoining(const WidePath& left, const std::wstring& component) {
    WidePath joined = left;
    joined.Append(component);
    const std::wstring added = WidePath(component).Text();
    if (left.IsEmpty() || added.empty()) {
        fuzz::Require(joined.Text() == left.Text() + added);
    } else {
        fuzz::Require(joined.Text() == left.Text() + L'\\' + added);
    }
    WidePath lengthened = left;
    fuzz::Require(lengthened.Combine(component) == joined && lengthened == joined);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static constexpr std::wstring_view fronts[] = {L"", L"C:\\", L"\\\\", L"\\\\?\\", L"\\\\?\\\\\\?\\"};
    fuzz::Input input(data, size);
    const std::uint8_t choice = input.Byte();
    // A fuzzer's bytes hardly reach the lengths that matter.
    const std::wstring filling(choice >= 0x80 ? 240 : 0, L'x');
    std::wstring component;
    for (int left = input.Byte() % 8; left > 0; --left) {
        component += static_cast<wchar_t>(input.Byte());
    }
    std::wstring text = std::wstring(fronts[choice % std::size(fronts)]) + filling;
    while (!input.IsEmpty()) {
        text += static_cast<wchar_t>(input.Byte());
    }
    const WidePath path(text);
    TryForms(path);
    TryParts(path);
    TryJoining(path, component);
    fuzz::Require(!IsUncPath(text) || text.starts_with(L"\\\\"));
    return 0;
}
