#include "tests/endtoend/harness/stops.h"

#include "tests/endtoend/harness/files.h"
#include "tests/endtoend/harness/process.h"

#include <windows.h>

#include <gtest/gtest.h>

namespace keyreap::endtoend {

namespace {

constexpr wchar_t variable[] = L"KEYREAP_STOPS";

} // namespace

Stops::Stops(const std::wstring& folder) : folder(folder) {
    MakeDirectory(folder);
    SetEnvironmentVariableW(variable, folder.c_str());
}

Stops::~Stops() {
    SetEnvironmentVariableW(variable, nullptr);
    Reset();
}

void Stops::Hold(const std::wstring& point) const {
    EXPECT_TRUE(WriteText(folder + L"\\" + point + L".hold", ""));
}

void Stops::LetGo(const std::wstring& point) const {
    DeleteFileW((folder + L"\\" + point + L".hold").c_str());
}

bool Stops::IsReached(const std::wstring& point) const {
    return Exists(folder + L"\\" + point + L".reached");
}

void Stops::Await(const std::wstring& point) const {
    EXPECT_TRUE(Eventually([&] { return IsReached(point); })) << "The target did not come so far.";
}

void Stops::Reset() const {
    for (const wchar_t* point : {L"loading", L"registering", L"unloading"}) {
        LetGo(point);
        DeleteFileW((folder + L"\\" + point + L".reached").c_str());
    }
}

} // namespace keyreap::endtoend
