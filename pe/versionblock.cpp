#include "pe/versionblock.h"

#include "pe/peimage.h"
#include "pe/versionresource.h"
#include "platform/os/file/widepath.h"

#include <new>

namespace keyreap {

namespace {

// Zeros after the block. Its parts have 16-bit lengths, nested four deep, and the system follows false
// lengths.
constexpr std::size_t slack = 5 * 0x10000;

// Keeps the system from following a resource directory out of the file, and from loading sections over each
// other, which Wine can't undo. A file that is no PE file is left to the system.
bool MayBeRead(const std::wstring& path) {
    PeImage image(path);
    if (!image.IsPeFile()) {
        return true;
    }
    return image.View().HasLayout() && HoldsVersionResource(image.View());
}

} // namespace

DWORD VersionBlock::Load(const std::wstring& path) {
    const std::wstring file = ExtendedLengthForm(path);
    if (!MayBeRead(file)) {
        return ERROR_RESOURCE_DATA_NOT_FOUND;
    }
    DWORD ignored = 0;
    const DWORD size = GetFileVersionInfoSizeW(file.c_str(), &ignored);
    if (size == 0) {
        return GetLastError();
    }
    bytes.reset(new (std::nothrow) std::byte[size + slack]());
    if (bytes == nullptr) {
        return ERROR_NOT_ENOUGH_MEMORY;
    }
    if (!GetFileVersionInfoW(file.c_str(), 0, size, bytes.get())) {
        return GetLastError();
    }
    view = CheckedView(std::span(bytes.get(), size + slack));
    return ERROR_SUCCESS;
}

const std::byte* VersionBlock::Find(const std::wstring& subBlock) const {
    void* value = nullptr;
    UINT length = 0;
    if (view.Start() == nullptr || !VerQueryValueW(view.Start(), subBlock.c_str(), &value, &length) ||
        length == 0) {
        return nullptr;
    }
    return static_cast<const std::byte*>(value);
}

std::wstring VersionBlock::Text(const std::byte* value) const {
    std::wstring text;
    for (; const wchar_t unit = Number<std::uint16_t>(value, 0); value += sizeof(std::uint16_t)) {
        text += unit;
    }
    return text;
}

} // namespace keyreap
