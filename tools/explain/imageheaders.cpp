#include "tools/explain/imageheaders.h"

namespace keyreap {

namespace {

constexpr std::size_t newHeaderField = 60; // e_lfanew of the DOS header

// Fields of the file header, counted from the signature.
constexpr std::size_t machineField = 4;
constexpr std::size_t characteristicsField = 22;

std::uint16_t HeaderField(PeImage& image, std::size_t field) {
    if (!image.IsPeFile()) {
        return 0;
    }
    const CheckedView& view = image.View();
    const std::uint32_t headers = view.Read<std::uint32_t>(view.Start() + newHeaderField).value_or(0);
    return view.Read<std::uint16_t>(view.Start() + headers + field).value_or(0);
}

} // namespace

std::uint16_t MachineOf(PeImage& image) {
    return HeaderField(image, machineField);
}

bool IsDll(PeImage& image) {
    return (HeaderField(image, characteristicsField) & IMAGE_FILE_DLL) != 0;
}

const wchar_t* ImageKind(std::uint16_t machine) {
    switch (machine) {
    case IMAGE_FILE_MACHINE_AMD64:
        return L"a 64-bit image";
    case IMAGE_FILE_MACHINE_I386:
        return L"a 32-bit image";
    case IMAGE_FILE_MACHINE_UNKNOWN:
        return L"no image";
    default:
        return L"an image for another machine";
    }
}

bool IsOwnMachine(std::uint16_t machine) {
    return machine == (sizeof(void*) == 8 ? IMAGE_FILE_MACHINE_AMD64 : IMAGE_FILE_MACHINE_I386);
}

} // namespace keyreap
