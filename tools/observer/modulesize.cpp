#include "tools/observer/modulesize.h"

#include "platform/core/text/compare.h"

#include <algorithm>
#include <fstream>
#include <string_view>

namespace keyreap {

namespace {

constexpr std::streamoff newHeaderField = 60;
constexpr std::streamoff imageSizeField = 24 + 56; // of either optional header, from the signature

std::uint32_t NumberAt(std::ifstream& file, std::streamoff offset) {
    unsigned char bytes[4] = {};
    file.seekg(offset);
    file.read(reinterpret_cast<char*>(bytes), sizeof(bytes));
    return file ? bytes[0] | bytes[1] << 8 | bytes[2] << 16 | static_cast<std::uint32_t>(bytes[3]) << 24 : 0;
}

std::uint64_t SizeIn(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    const std::uint32_t headers = file ? NumberAt(file, newHeaderField) : 0;
    return headers != 0 ? NumberAt(file, headers + imageSizeField) : 0;
}

// A 32-bit process reports its modules under the name of the 64-bit folder.
std::string ForBitness(std::string path, bool is32Bit) {
    constexpr std::string_view system = "c:/windows/system32/";
    if (is32Bit && path.starts_with(system)) {
        path.replace(0, system.size(), "c:/windows/syswow64/");
    }
    return path;
}

} // namespace

std::uint64_t SizeInFile(const std::string& prefix, const LoadedModule& module) {
    if (module.path.empty()) {
        return 0;
    }
    std::string path = module.path;
    std::replace(path.begin(), path.end(), '\\', '/');
    const std::string drives = prefix + "/dosdevices/";
    const std::string lowered = FoldedBytes(path);
    // Wine's own modules are reported in any case; their files have lower case.
    if (const std::uint64_t size = SizeIn(drives + ForBitness(lowered, module.is32Bit)); size != 0) {
        return size;
    }
    path[0] = lowered[0];
    return SizeIn(drives + path);
}

} // namespace keyreap
