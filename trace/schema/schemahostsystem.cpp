#include "trace/schema/schemahost.h"
#include "trace/schema/wmiconnection.h"

namespace keyreap {

std::unique_ptr<EventClasses> OpenEventClasses() {
    return std::make_unique<WmiConnection>();
}

std::wstring WidenNarrowText(std::string_view text) {
    const auto length = static_cast<int>(text.size());
    const int size = MultiByteToWideChar(CP_ACP, 0, text.data(), length, nullptr, 0);
    std::wstring wide(size > 0 ? static_cast<std::size_t>(size) : 0, L'\0');
    MultiByteToWideChar(CP_ACP, 0, text.data(), length, wide.data(), size);
    return wide;
}

} // namespace keyreap
