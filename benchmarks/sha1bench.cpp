#include "benchmarks/partbench.h"
#include "pe/sha1.h"

#include <benchmark/benchmark.h>
#include <openssl/evp.h>

#include <span>
#include <vector>

namespace keyreap {

namespace {

constexpr std::size_t fileSize = 1024 * 1024;

using Bytes = std::vector<std::byte>;

Bytes SomeFile() {
    Bytes bytes(fileSize);
    for (std::size_t i = 0; i < bytes.size(); ++i) {
        bytes[i] = static_cast<std::byte>(i * 2654435761U >> 13);
    }
    return bytes;
}

Sha1Digest LibrarySha1Of(std::span<const std::byte> bytes) {
    Sha1Digest digest{};
    EVP_Digest(bytes.data(), bytes.size(), digest.data(), nullptr, EVP_sha1(), nullptr);
    return digest;
}

template <typename Hash>
void HashFile(benchmark::State& state, Hash hash) {
    const Bytes file = SomeFile();
    if (hash(file) != LibrarySha1Of(file)) {
        state.SkipWithError("wrong digest");
        return;
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(hash(file));
    }
}

} // namespace

void AddSha1Benchmarks() {
    benchmark::RegisterBenchmark("sha1/ours", [](auto& state) { HashFile(state, Sha1Of); });
    benchmark::RegisterBenchmark("sha1/library", [](auto& state) { HashFile(state, LibrarySha1Of); });
}

} // namespace keyreap
