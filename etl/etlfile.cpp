#include "etl/etlfile.h"

namespace keyreap {

EtlFileSource::EtlFileSource(const std::filesystem::path& path)
    : file(path, std::ios::binary | std::ios::ate) {
    const std::streamoff end = file ? static_cast<std::streamoff>(file.tellg()) : 0;
    size = end > 0 ? static_cast<std::uint64_t>(end) : 0;
}

bool EtlFileSource::Read(std::uint64_t offset, std::span<std::byte> bytes) {
    file.clear();
    file.seekg(static_cast<std::streamoff>(offset));
    file.read(reinterpret_cast<char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return !file.fail();
}

EtlFileSink::EtlFileSink(const std::filesystem::path& path)
    : file(path, std::ios::binary | std::ios::trunc) {}

bool EtlFileSink::Write(std::uint64_t offset, std::span<const std::byte> bytes) {
    file.seekp(static_cast<std::streamoff>(offset));
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
    return !file.fail();
}

bool EtlFileSink::Close() {
    file.close();
    return !file.fail();
}

} // namespace keyreap
