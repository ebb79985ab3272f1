#pragma once

#include "tests/endtoend/harness/savedregistry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

using Lines = std::vector<std::wstring>;

inline const Lines nothing = {};

// Each bitness in its own build: a capture is the same through the companion.
inline constexpr Route nativeRoutes[] = {routes[0], routes[2]};

// The interface that the samples' type library describes. The system writes it to both views.
inline constexpr wchar_t calculatorsInterface[] = L"Interface\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D10}";

// A test of a session whose registry events can be traced, by the way that its target takes.
class TracedSession : public Workbench, public testing::WithParamInterface<Route> {
public:
    static void SetUpTestSuite();

protected:
    TracedSession();
    ~TracedSession() override;

    std::wstring Target(const std::wstring& name) const { return Sample(GetParam().target, name); }
    bool Is32Bit() const { return GetParam().target == Bitness::x86; }
    // The name of a golden file that differs by bitness.
    std::string OwnGolden(const std::string& sample) const;
    // Captures a sample into Work(L"out.reg").
    DWORD Trace(const std::wstring& name, const wchar_t* mode = L"trace") const;
    // What a registration of the samples' type library leaves in the view that the build doesn't see.
    Lines InterfaceOfTheOtherView() const;
};

} // namespace keyreap::endtoend
