#pragma once

#include <cstdint>
#include <string>

namespace keyreap::endtoend {

// What the tests are told by environment variables. The paths are Windows paths, and all of them are needed.
struct Settings {
    std::wstring stage;           // KEYREAP_STAGE: holds x64\Keyreap.exe and x86\Keyreap.exe
    std::wstring samples;         // KEYREAP_SAMPLES: holds the samples in x64 and x86
    std::wstring golden;          // KEYREAP_GOLDEN: holds the golden .reg files
    std::wstring shareUnc;        // KEYREAP_SHARE_UNC: a share, as \\server\share ...
    std::wstring shareLocal;      // KEYREAP_SHARE_LOCAL: ... and the same folder by a local path
    std::uint32_t sampleStep = 1; // KEYREAP_SAMPLE: of very many cases, every that-many-th one is tried
};

const Settings& TestSettings();

// Reads the variables. The result is empty, or says in one line for each what is missing.
std::string ReadSettings();

} // namespace keyreap::endtoend
