#include "etl/etlfile.h"
#include "tests/unit/etl/logbuilder.h"

#include <gtest/gtest.h>

#include <filesystem>

namespace keyreap {
namespace {

// Each test has a file of its own, which is removed afterwards.
class EtlFile : public ::testing::Test {
protected:
    EtlFile() {
        const auto* test = ::testing::UnitTest::GetInstance()->current_test_info();
        path = std::filesystem::temp_directory_path() / (std::string("etlfile_") + test->name() + ".etl");
        std::filesystem::remove(path);
    }
    ~EtlFile() override {
        std::error_code ignored;
        std::filesystem::remove(path, ignored);
    }

    std::filesystem::path path;
};

TEST_F(EtlFile, ReturnsWhatWasWritten) {
    EtlFileSink sink(path);
    EXPECT_TRUE(sink.Write(0, Layout().U32(1).U32(2).bytes));
    EXPECT_TRUE(sink.Write(8, Layout().U32(3).U32(4).bytes));
    EXPECT_TRUE(sink.Write(4, Layout().U32(5).bytes));
    EXPECT_TRUE(sink.Close());
    EtlFileSource source(path);
    ASSERT_EQ(source.Size(), 16U);
    Bytes bytes(16);
    EXPECT_TRUE(source.Read(0, bytes));
    EXPECT_EQ(bytes, Layout().U32(1).U32(5).U32(3).U32(4).bytes);
}

TEST_F(EtlFile, ReplacesAnExistingFile) {
    for (const std::size_t size : {std::size_t{100}, std::size_t{50}}) {
        EtlFileSink sink(path);
        EXPECT_TRUE(sink.Write(0, Bytes(size)));
        EXPECT_TRUE(sink.Close());
        EXPECT_EQ(EtlFileSource(path).Size(), size);
    }
}

TEST_F(EtlFile, ReadsBytesBeyondTwoGigabytes) {
    constexpr std::uint64_t farOffset = 0x8000'0010;
    EtlFileSink sink(path);
    EXPECT_TRUE(sink.Write(0, Layout().U32(1).bytes));
    EXPECT_TRUE(sink.Write(farOffset, Layout().U32(7).bytes));
    EXPECT_TRUE(sink.Close());
    EtlFileSource source(path);
    EXPECT_EQ(source.Size(), farOffset + 4);
    Bytes bytes(4);
    EXPECT_TRUE(source.Read(farOffset, bytes));
    EXPECT_EQ(bytes, Layout().U32(7).bytes);
    EXPECT_TRUE(source.Read(0, bytes));
    EXPECT_EQ(bytes, Layout().U32(1).bytes);
}

TEST_F(EtlFile, AReadThatFailsDoesNotSpoilTheNext) {
    EtlFileSink sink(path);
    EXPECT_TRUE(sink.Write(0, Layout().U32(1).bytes));
    EXPECT_TRUE(sink.Close());
    EtlFileSource source(path);
    Bytes bytes(8);
    EXPECT_FALSE(source.Read(0, bytes));
    bytes.resize(4);
    EXPECT_TRUE(source.Read(0, bytes));
    EXPECT_EQ(bytes, Layout().U32(1).bytes);
}

TEST_F(EtlFile, AMissingFileIsEmpty) {
    EtlFileSource source(path);
    EXPECT_EQ(source.Size(), 0U);
    Bytes bytes(1);
    EXPECT_FALSE(source.Read(0, bytes));
}

TEST_F(EtlFile, WritesToAFileThatCannotBeCreatedFail) {
    EtlFileSink sink(path / "inside a file that is not there");
    EXPECT_FALSE(sink.Write(0, Layout().U32(1).bytes));
    EXPECT_FALSE(sink.Close());
}

} // namespace
} // namespace keyreap
