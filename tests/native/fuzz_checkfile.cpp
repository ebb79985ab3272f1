// The text of a check file: any bytes, and any pieces of JSON, are read or refused. Noise that is read is the
// same when it is written and read again.
#include "kit/checkfile.h"
#include "kit/refusal.h"
#include "tests/native/fuzzinput.h"

#include <array>

using namespace keyreap;

namespace {

const std::string digest(40, 'a');

constexpr std::array<std::string_view, 22> pieces = {
    R"({"format": 1, "digest": "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa", "parts": ["noise"], "noise": [)",
    R"({"key": ")",
    R"(", "value": ")",
    R"("},)",
    R"("}]})",
    R"({"key": "HKEY_CURRENT_USER\\a"})",
    R"("format": 1,)",
    R"("digest": "aaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaaa",)",
    R"("parts": ["whole", "noise"],)",
    R"("noise": [)",
    R"(\ud83d\ude00)",
    R"(\ud83d)",
    "\xc3\xa4",
    "\xff",
    "{",
    "}",
    "[",
    "]",
    ",",
    "\"",
    "null",
    "-1e999",
};

std::optional<std::vector<NoiseEntry>> Read(std::string_view json) {
    try {
        return NoiseIn(json, digest, "x");
    } catch (const Refusal&) {
        return std::nullopt;
    }
}

void TryReading(std::string_view json) {
    const auto noise = Read(json);
    if (noise) {
        CheckReport report;
        report.digest = digest;
        report.parts = {CheckPart::Noise};
        report.noise = *noise;
        fuzz::Require(Read(CheckJson(report)) == noise);
    }
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    TryReading({reinterpret_cast<const char*>(data), size});
    fuzz::Input input(data, size);
    std::string json(input.Byte() % 4 == 0 ? std::string_view() : pieces.front());
    while (!input.IsEmpty()) {
        json += pieces[input.Byte() % pieces.size()];
    }
    TryReading(json);
    return 0;
}
