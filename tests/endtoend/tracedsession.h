#pragma once

#include "tests/endtoend/harness/savedregistry.h"
#include "tests/endtoend/harness/workbench.h"

namespace keyreap::endtoend {

// Each bitness in its own build, for tests where the way through the companion makes no difference.
inline constexpr Route nativeRoutes[] = {routes[0], routes[2]};

// The interface that the samples' type library describes. The system writes it to both views.
inline constexpr wchar_t calculatorInterface[] = L"Interface\\{6B1E2C5C-2C0B-4B44-9C0A-5E9B6F5C6D10}";

// A test in a session whose registry events can be traced, by the route of its target.
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
    // Expects a successful capture of a sample with exactly this result, which changes exactly this in the
    // registry.
    void ExpectCapture(const std::wstring& name, const wchar_t* mode, const Bytes& result,
                       const Lines& changes = nothing) const;
    // The keys that a registration of the samples' type library leaves in the view that the build doesn't
    // see.
    Lines InterfaceOfTheOtherView() const;
};

} // namespace keyreap::endtoend
