#pragma once

#include "etl/etlsink.h"
#include "etl/etlsource.h"

#include <filesystem>
#include <fstream>

namespace keyreap {

// A log file to read. One that can't be opened is empty.
class EtlFileSource : public EtlSource {
public:
    explicit EtlFileSource(const std::filesystem::path& path);

    std::uint64_t Size() const override { return size; }
    bool Read(std::uint64_t offset, std::span<std::byte> bytes) override;

private:
    std::ifstream file;
    std::uint64_t size = 0;
};

// A log file to write; an existing file is replaced. If it can't be created every write fails.
class EtlFileSink : public EtlSink {
public:
    explicit EtlFileSink(const std::filesystem::path& path);

    bool Write(std::uint64_t offset, std::span<const std::byte> bytes) override;

    // False if this or an earlier write failed.
    bool Close();

private:
    std::ofstream file;
};

} // namespace keyreap
