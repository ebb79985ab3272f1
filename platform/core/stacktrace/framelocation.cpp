#include "platform/core/stacktrace/framelocation.h"

#include "platform/core/stacktrace/stacktracetext.h"
#include "platform/core/text/text.h"

namespace keyreap {

namespace {

std::wstring Stripped(std::wstring_view text) {
    constexpr std::wstring_view blanks = L" \t\r\n";
    return TrimLeft(TrimRight(text, blanks), blanks);
}

} // namespace

FrameLocation SplitFrameLocation(std::wstring_view text) {
    std::vector<std::wstring> pieces = SplitText(text, L":", false);
    pieces.resize(2);
    return {Stripped(pieces[0]), static_cast<std::uint32_t>(TextToInteger(Stripped(pieces[1])))};
}

std::optional<FrameLocation> FirstFrameLocation(std::wstring_view trace) {
    const std::size_t mark = trace.find(frameLineMark);
    if (mark == std::wstring_view::npos) {
        return std::nullopt;
    }
    return SplitFrameLocation(FirstLine(trace.substr(mark + frameLineMark.size())));
}

} // namespace keyreap
