#include "tests/unit/etl/memorylog.h"

#include "etl/etlreader.h"

#include <gtest/gtest.h>

#include <algorithm>

namespace keyreap {

bool MemorySink::Write(std::uint64_t offset, std::span<const std::byte> from) {
    if (++calls > failFrom) {
        return false;
    }
    if (offset > bytes.size()) {
        ADD_FAILURE() << "written at " << offset << " of " << bytes.size();
        return false;
    }
    const auto start = static_cast<std::size_t>(offset);
    bytes.resize(std::max(bytes.size(), start + from.size()));
    std::ranges::copy(from, bytes.begin() + static_cast<std::ptrdiff_t>(start));
    return true;
}

bool MemorySource::Read(std::uint64_t offset, std::span<std::byte> to) {
    if (++calls > failFrom) {
        return false;
    }
    if (offset > bytes.size() || to.size() > bytes.size() - offset) {
        ADD_FAILURE() << "asked for " << to.size() << " bytes at " << offset << " of " << bytes.size();
        return false;
    }
    std::ranges::copy(bytes.subspan(static_cast<std::size_t>(offset), to.size()), to.begin());
    return true;
}

RecordingListener ReadAll(std::span<const std::byte> log) {
    MemorySource source(log);
    EtlReader reader(source);
    RecordingListener listener;
    EXPECT_TRUE(reader.Open());
    EXPECT_TRUE(reader.Process(listener));
    EXPECT_EQ(reader.Statistics().events, listener.events.size());
    return listener;
}

std::vector<std::uint32_t> ProcessIds(const RecordingListener& listener) {
    std::vector<std::uint32_t> ids;
    for (std::size_t i = 1; i < listener.events.size(); ++i) {
        ids.push_back(listener.events[i].processId);
    }
    return ids;
}

} // namespace keyreap
