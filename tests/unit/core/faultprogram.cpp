// Faults in the way that its argument names, on a worker thread with the translator and the process-wide
// filter installed as a session's worker has them. Ends with 76 if a filter of its own was called, with 77 if
// the stack was unwound, and with 78 if nothing ended it.
#include "platform/core/errorreport/failurereporter.h"
#include "platform/core/exceptiontranslation.h"
#include "platform/core/failurepresentation.h"
#include "platform/core/unhandledexception.h"

#include <windows.h>

#include <cstdlib>
#include <map>
#include <stdexcept>
#include <string>

namespace {

struct UnwindWitness {
    ~UnwindWitness() { TerminateProcess(GetCurrentProcess(), 77); }
};

volatile int sink = 0;
volatile int zero = 0;

int* volatile nullPointer = nullptr;
int* volatile badPointer = reinterpret_cast<int*>(0x10);
unsigned char notCode[16] = {};

void Call(void* address) {
    reinterpret_cast<void (*)()>(address)();
}

void ExecuteIllegalInstruction() {
    void* page = VirtualAlloc(nullptr, 4096, MEM_COMMIT | MEM_RESERVE, PAGE_EXECUTE_READWRITE);
    static_cast<unsigned char*>(page)[0] = 0x0F;
    static_cast<unsigned char*>(page)[1] = 0x0B;
    Call(page);
}

void Divide() {
    sink = sink / zero;
}

int Recurse(volatile int* caller) {
    volatile int room[128] = {};
    return *caller == 1 ? 0 : Recurse(room) + room[0];
}

void Throw() {
    throw std::runtime_error("nobody catches this");
}

void (*volatile thrower)() = Throw;

void ThrowThroughNoexcept() noexcept {
    thrower();
}

class FaultingReporter : public keyreap::FailureReporter {
public:
    void Record(const std::wstring&, const std::wstring&, const std::wstring&) override {}
    bool CanSend() override { return false; }
    void Send(const std::wstring&, HWND) override {}
    std::wstring& GetText(std::wstring& text, bool) override { return text; }
    bool BeforeShow(HWND, const std::wstring&, const std::wstring&) override {
        *nullPointer = 1;
        return true;
    }
};

void FaultTwice() {
    static FaultingReporter reporter;
    keyreap::FailurePresentation::OfProcess().SetFailureReporter(&reporter);
    Divide();
}

LONG WINAPI OtherFilter(EXCEPTION_POINTERS*) {
    TerminateProcess(GetCurrentProcess(), 76);
    return EXCEPTION_EXECUTE_HANDLER;
}

void DivideAfterAnotherFilter() {
    SetUnhandledExceptionFilter(OtherFilter);
    keyreap::InstallUnhandledExceptionFilter();
    Divide();
}

const std::map<std::wstring, void (*)()> faults = {
    {L"read-null", [] { sink = *nullPointer; }},
    {L"read-bad", [] { sink = *badPointer; }},
    {L"write-null", [] { *nullPointer = 1; }},
    {L"write-bad", [] { *badPointer = 1; }},
    {L"execute-null", [] { Call(nullptr); }},
    {L"execute-bad", [] { Call(notCode); }},
    {L"divide", Divide},
    {L"illegal", ExecuteIllegalInstruction},
    {L"stack-overflow", [] { sink = Recurse(&zero); }},
    {L"breakpoint", [] { RaiseException(EXCEPTION_BREAKPOINT, 0, 0, nullptr); }},
    {L"own-code", [] { RaiseException(0xE0424242, 0, 0, nullptr); }},
    {L"while-shown", FaultTwice},
    {L"other-filter", DivideAfterAnotherFilter},
    {L"throw", Throw},
    {L"throw-noexcept", ThrowThroughNoexcept},
    {L"abort", [] { std::abort(); }},
    {L"terminate", [] { std::terminate(); }},
};

DWORD WINAPI Work(void* fault) {
    keyreap::InstallStructuredExceptionTranslator();
    keyreap::InstallUnhandledExceptionFilter();
    const UnwindWitness witness;
    reinterpret_cast<void (*)()>(fault)();
    return 0;
}

} // namespace

int wmain(int count, wchar_t** arguments) {
    const auto fault = count > 1 ? faults.find(arguments[1]) : faults.end();
    if (fault == faults.end()) {
        return 79;
    }
    const HANDLE thread = CreateThread(nullptr, 0, Work, reinterpret_cast<void*>(fault->second), 0, nullptr);
    WaitForSingleObject(thread, INFINITE);
    return 78;
}
