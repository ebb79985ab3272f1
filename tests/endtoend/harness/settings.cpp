#include "tests/endtoend/harness/settings.h"

#include "tests/support/samplestep.h"

#include <windows.h>

namespace keyreap::endtoend {

namespace {

using Setting = std::wstring Settings::*;

struct Variable {
    const char* name;
    Setting place;
    const char* meaning;
};

constexpr Variable variables[] = {
    {"KEYREAP_STAGE", &Settings::stage, "the folder that holds x64\\Keyreap.exe and x86\\Keyreap.exe"},
    {"KEYREAP_SAMPLES", &Settings::samples, "the folder that holds the samples in x64 and x86"},
    {"KEYREAP_GOLDEN", &Settings::golden, "the folder tests\\endtoend\\golden"},
    {"KEYREAP_SHARE_UNC", &Settings::shareUnc, "a writable share, as \\\\server\\share"},
    {"KEYREAP_SHARE_LOCAL", &Settings::shareLocal, "the same folder by a local path"},
};

Settings& MutableSettings() {
    static Settings settings;
    return settings;
}

std::wstring ReadVariable(const std::string& name) {
    const std::wstring wideName(name.begin(), name.end());
    std::wstring value(GetEnvironmentVariableW(wideName.c_str(), nullptr, 0), L'\0');
    value.resize(GetEnvironmentVariableW(wideName.c_str(), value.data(), static_cast<DWORD>(value.size())));
    return value;
}

} // namespace

const Settings& TestSettings() {
    return MutableSettings();
}

std::string ReadSettings() {
    std::string missing;
    for (const Variable& variable : variables) {
        std::wstring& place = MutableSettings().*variable.place;
        place = ReadVariable(variable.name);
        if (place.empty()) {
            missing += std::string("Set ") + variable.name + " to " + variable.meaning + ".\n";
        }
    }
    MutableSettings().sampleStep = testsupport::SampleStep();
    MutableSettings().host = ReadVariable("KEYREAP_HOST");
    return missing;
}

} // namespace keyreap::endtoend
