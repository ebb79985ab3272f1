// Every fuzzer with a fixed sample of inputs: the kept seeds (seeds/<fuzzer>/), variants of them, and noise.
// ./fuzz searches further.
#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <string>
#include <vector>

#define KEYREAP_FUZZER(name) extern "C" int Fuzz_##name(const std::uint8_t* data, std::size_t size);
#include "fuzzers.inc"
#undef KEYREAP_FUZZER

namespace keyreap::fuzz {
namespace {

using Bytes = std::vector<std::uint8_t>;

struct Fuzzer {
    const char* name;
    int (*tryInput)(const std::uint8_t* data, std::size_t size);
};

#define KEYREAP_FUZZER(name) {#name, Fuzz_##name},
constexpr Fuzzer fuzzers[] = {
#include "fuzzers.inc"
};
#undef KEYREAP_FUZZER

void PrintTo(const Fuzzer& fuzzer, std::ostream* stream) {
    *stream << fuzzer.name;
}

// The standard's generator gives the same numbers everywhere; its distributions don't.
using Numbers = std::mt19937;

Bytes Noise(Numbers& numbers) {
    constexpr std::size_t longest = 600;
    Bytes bytes(numbers() % longest);
    // Counts, lengths and types are small values more often than large ones.
    const std::uint32_t bound = numbers() % 2 == 0 ? 256 : 16;
    std::generate(bytes.begin(), bytes.end(), [&] { return static_cast<std::uint8_t>(numbers() % bound); });
    return bytes;
}

Bytes Variant(Bytes bytes, Numbers& numbers) {
    for (std::size_t changes = 1 + numbers() % 4; changes > 0 && !bytes.empty(); --changes) {
        bytes[numbers() % bytes.size()] = static_cast<std::uint8_t>(numbers());
    }
    if (numbers() % 4 == 0) {
        bytes.resize(numbers() % (bytes.size() + 1));
    }
    return bytes;
}

std::vector<Bytes> Seeds(const std::string& fuzzer) {
    std::vector<std::filesystem::path> files;
    const std::filesystem::path folder = std::filesystem::path(KEYREAP_SEEDS) / fuzzer;
    if (std::filesystem::exists(folder)) {
        std::copy(std::filesystem::directory_iterator(folder), {}, std::back_inserter(files));
    }
    std::sort(files.begin(), files.end());
    std::vector<Bytes> seeds;
    for (const std::filesystem::path& file : files) {
        std::ifstream stream(file, std::ios::binary);
        seeds.emplace_back(std::istreambuf_iterator<char>(stream), std::istreambuf_iterator<char>());
    }
    return seeds;
}

class FuzzerSample : public testing::TestWithParam<Fuzzer> {
protected:
    // A broken rule ends the program. The input is not reported, but it is always the same.
    void Try(const Bytes& bytes) {
        // In memory of exactly its size, so that the sanitizers see an access after its end.
        const Bytes exact(bytes.begin(), bytes.end());
        EXPECT_EQ(GetParam().tryInput(exact.data(), exact.size()), 0);
    }

    Numbers numbers{1};
};

TEST_P(FuzzerSample, KeepsItsRulesOnNoise) {
    Try({});
    for (int i = 0; i < 1000; ++i) {
        Try(Noise(numbers));
    }
}

TEST_P(FuzzerSample, KeepsItsRulesOnTheSeedsAndVariantsOfThem) {
    for (const Bytes& seed : Seeds(GetParam().name)) {
        Try(seed);
        for (int i = 0; i < 20; ++i) {
            Try(Variant(seed, numbers));
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, FuzzerSample, testing::ValuesIn(fuzzers),
                         [](const auto& test) { return test.param.name; });

} // namespace
} // namespace keyreap::fuzz
