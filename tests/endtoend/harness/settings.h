#pragma once

#include <cstdint>
#include <string>

namespace keyreap::endtoend {

// The settings that environment variables give the tests. The paths are Windows paths and are all required.
struct Settings {
    std::wstring stage;           // KEYREAP_STAGE: contains x64\Keyreap.exe and x86\Keyreap.exe
    std::wstring samples;         // KEYREAP_SAMPLES: contains the samples in x64 and x86
    std::wstring golden;          // KEYREAP_GOLDEN: contains the golden .reg files
    std::wstring shareUnc;        // KEYREAP_SHARE_UNC: a share, as \\server\share
    std::wstring shareLocal;      // KEYREAP_SHARE_LOCAL: the share's folder by its local path
    std::wstring host;            // KEYREAP_HOST: how strict the session's logger is; may be missing
    std::uint32_t sampleStep = 1; // KEYREAP_SAMPLE: of very many cases, only every n-th is tried
};

const Settings& TestSettings();

// Reads the variables. Returns one line for each that is missing; empty if none is.
std::string ReadSettings();

} // namespace keyreap::endtoend
