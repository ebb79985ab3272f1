#include "platform/core/exceptionhandling.h"
#include "platform/core/exceptiontranslation.h"
#include "platform/core/stacktrace/stacktrace.h"
#include "platform/core/stacktrace/stacktracetext.h"
#include "platform/core/structuredexceptions.h"
#include "platform/os/winehost.h"
#include "tests/unit/stacktrace/capturedcontext.h"

#include <gmock/gmock.h>

#include <optional>

namespace keyreap {
namespace {

using testing::HasSubstr;
using testing::StartsWith;

// Whether the debug help can follow the frames of this program. Wine 8's takes the first of a function's
// frame records for all of it, and then stays in that frame.
bool FollowsFrames() {
#ifdef KEYREAP_FRAME_RECORDS
    return !RunsOnWine();
#else
    return true;
#endif
}

struct Fault {
    DWORD code;
    ULONG_PTR attempt = 0;
    ULONG_PTR address = 0;
    CONTEXT* context = nullptr;
};

SehException Translated(const Fault& fault) {
    EXCEPTION_RECORD record = {};
    record.ExceptionCode = fault.code;
    record.ExceptionAddress = reinterpret_cast<void*>(0x1234);
    record.NumberParameters = 2;
    record.ExceptionInformation[0] = fault.attempt;
    record.ExceptionInformation[1] = fault.address;
    EXCEPTION_POINTERS pointers = {&record, fault.context};
    try {
        TranslateStructuredException(fault.code, &pointers);
    } catch (const SehException& exception) {
        return exception;
    }
    throw std::logic_error("the translator returned");
}

struct KindRow {
    ULONG_PTR attempt;
    ULONG_PTR address;
    SehKind kind;
    std::wstring name;
};

class AccessViolations : public testing::TestWithParam<KindRow> {};

TEST_P(AccessViolations, AreNamedByAttemptAndAddress) {
    const SehException exception = Translated({0xC0000005, GetParam().attempt, GetParam().address});
    EXPECT_EQ(exception.GetSehKind(), GetParam().kind);
    EXPECT_EQ(exception.GetKindName(), GetParam().name);
    EXPECT_EQ(exception.Message(),
              L"[" + GetParam().name +
                  L"] ACCESS_VIOLATION (0xc0000005) at address [0x0000000000001234]\r\n");
}

INSTANTIATE_TEST_SUITE_P(Rows, AccessViolations,
                         testing::Values(KindRow{0, 0, SehKind::SEH_AV_READ_NULLPTR, L"SEH_AV_READ_NULLPTR"},
                                         KindRow{0, 4, SehKind::SEH_AV_READ_BADPTR, L"SEH_AV_READ_BADPTR"},
                                         KindRow{1, 0, SehKind::SEH_AV_WRITE_NULLPTR,
                                                 L"SEH_AV_WRITE_NULLPTR"},
                                         KindRow{1, 4, SehKind::SEH_AV_WRITE_BADPTR, L"SEH_AV_WRITE_BADPTR"},
                                         KindRow{8, 0, SehKind::SEH_AV_DEP_NULLPTR, L"SEH_AV_DEP_NULLPTR"},
                                         KindRow{8, 4, SehKind::SEH_AV_DEP_BADPTR, L"SEH_AV_DEP_BADPTR"},
                                         KindRow{2, 0, SehKind::SEH_GENERIC, L"SEH_GENERIC"},
                                         KindRow{2, 4, SehKind::SEH_GENERIC, L"SEH_GENERIC"}));

struct CodeRow {
    DWORD code;
    std::wstring firstLine;
};

class OtherCodes : public testing::TestWithParam<CodeRow> {};

TEST_P(OtherCodes, AreGenericWhateverTheirInformation) {
    const SehException exception = Translated({GetParam().code, 1, 0});
    EXPECT_EQ(exception.GetSehKind(), SehKind::SEH_GENERIC);
    EXPECT_EQ(exception.Message(),
              L"[SEH_GENERIC] " + GetParam().firstLine + L" at address [0x0000000000001234]\r\n");
}

INSTANTIATE_TEST_SUITE_P(Rows, OtherCodes,
                         testing::Values(CodeRow{0x80000001, L"GUARD_PAGE (0x80000001)"},
                                         CodeRow{0x80000002, L"DATATYPE_MISALIGNMENT (0x80000002)"},
                                         CodeRow{0x80000003, L"BREAKPOINT (0x80000003)"},
                                         CodeRow{0x80000004, L"SINGLE_STEP (0x80000004)"},
                                         CodeRow{0xC0000006, L"IN_PAGE_ERROR (0xc0000006)"},
                                         CodeRow{0xC0000008, L"INVALID_HANDLE (0xc0000008)"},
                                         CodeRow{0xC000001D, L"ILLEGAL_INSTRUCTION (0xc000001d)"},
                                         CodeRow{0xC0000025, L"NONCONTINUABLE_EXCEPTION (0xc0000025)"},
                                         CodeRow{0xC0000026, L"INVALID_DISPOSITION (0xc0000026)"},
                                         CodeRow{0xC000008C, L"ARRAY_BOUNDS_EXCEEDED (0xc000008c)"},
                                         CodeRow{0xC000008D, L"FLT_DENORMAL_OPERAND (0xc000008d)"},
                                         CodeRow{0xC000008E, L"FLT_DIVIDE_BY_ZERO (0xc000008e)"},
                                         CodeRow{0xC000008F, L"FLT_INEXACT_RESULT (0xc000008f)"},
                                         CodeRow{0xC0000090, L"FLT_INVALID_OPERATION (0xc0000090)"},
                                         CodeRow{0xC0000091, L"FLT_OVERFLOW (0xc0000091)"},
                                         CodeRow{0xC0000092, L"FLT_STACK_CHECK (0xc0000092)"},
                                         CodeRow{0xC0000093, L"FLT_UNDERFLOW (0xc0000093)"},
                                         CodeRow{0xC0000094, L"INT_DIVIDE_BY_ZERO (0xc0000094)"},
                                         CodeRow{0xC0000095, L"INT_OVERFLOW (0xc0000095)"},
                                         CodeRow{0xC0000096, L"PRIV_INSTRUCTION (0xc0000096)"},
                                         CodeRow{0xC00000FD, L"STACK_OVERFLOW (0xc00000fd)"},
                                         CodeRow{0xE0424242, L"Unknown SEH Exception (0xe0424242)"},
                                         CodeRow{0x00000001, L"Unknown SEH Exception (0x00000001)"}));

TEST(TranslateStructuredException, KeepsTheDefaultErrorCode) {
    EXPECT_EQ(Translated({0xC0000005}).ErrorCode(), Exception::defaultErrorCode);
}

TEST(TranslateStructuredException, WithoutPointersHasNoAddressNoTraceAndNoBrackets) {
    try {
        TranslateStructuredException(0xC0000005, nullptr);
        FAIL() << "the translator returned";
    } catch (const SehException& exception) {
        EXPECT_EQ(exception.Message(), L"Unidentified SEH Exception !");
        EXPECT_EQ(exception.SourceFile(), L"exceptionhandling");
        EXPECT_EQ(exception.SourceLine(), 117u);
        EXPECT_EQ(exception.GetSehKind(), SehKind::SEH_GENERIC);
    }
}

TEST(TranslateStructuredException, WithoutLineInformationKeepsTheFixedPlace) {
    const SehException exception = Translated({0xC0000005});
    EXPECT_EQ(exception.SourceFile(), L"exceptionhandling");
    EXPECT_EQ(exception.SourceLine(), 92u);
}

TEST(TranslateStructuredException, TakesThePlaceOfTheFaultingFrame) {
    CONTEXT context = {};
    testsupport::captureThisFunction(&context);
    const std::uint32_t line = __LINE__;
    const SehException exception = Translated({0xC0000005, 1, 0, &context});
    EXPECT_EQ(exception.SourceFile(), L"exceptiontranslation_test.cpp");
    EXPECT_GE(exception.SourceLine(), line - 2);
    EXPECT_LE(exception.SourceLine(), line + 1);
}

TEST(TranslateStructuredException, PutsTheTraceAfterTheFirstLine) {
    CONTEXT context = {};
    testsupport::captureThisFunction(&context);
    const SehException exception = Translated({0xC0000005, 1, 0, &context});
    EXPECT_THAT(exception.Message(),
                StartsWith(L"[SEH_AV_WRITE_NULLPTR] ACCESS_VIOLATION (0xc0000005) at address "
                           L"[0x0000000000001234]\r\n" +
                           std::wstring(StackTraceHeader) + L"[0x"));
    EXPECT_THAT(exception.Message(), HasSubstr(L"exceptiontranslation_test.cpp:"));
    const bool isCut = exception.Message().find(moreFramesLine) != std::wstring::npos;
    EXPECT_EQ(isCut, !FollowsFrames());
}

// The translation of a fault in a function that first calls itself `frames` times.
SehException TranslatedBelow(int frames);
SehException (*volatile translatedBelow)(int frames) = TranslatedBelow;

SehException TranslatedBelow(int frames) {
    if (frames > 0) {
        return translatedBelow(frames - 1);
    }
    CONTEXT context = {};
    testsupport::captureThisFunction(&context);
    return Translated({0xC0000005, 1, 0, &context});
}

std::size_t Count(std::wstring_view text, std::wstring_view part) {
    std::size_t count = 0;
    for (std::size_t at = text.find(part); at != text.npos; at = text.find(part, at + part.size())) {
        ++count;
    }
    return count;
}

TEST(TranslateStructuredException, TraceEndsAfter200Frames) {
    const std::wstring message(translatedBelow(300).Message());
    EXPECT_THAT(message, HasSubstr(std::wstring(moreFramesLine)));
    constexpr std::size_t addressesBesideTheFrames = 2; // the addresses of the fault and of the main module
    EXPECT_EQ(Count(message, L"[0x"), 200 + addressesBesideTheFrames);
}

// A context in a function of the system, which has no lines, called from the place of another context. The
// stack of the call must outlive the context.
struct CallOfSystemFunction {
    ULONG_PTR stack[2];
    CONTEXT context;

    explicit CallOfSystemFunction(const CONTEXT& caller) : context(caller) {
        const auto function =
            reinterpret_cast<ULONG_PTR>(GetProcAddress(GetModuleHandleW(L"ntdll.dll"), "NtClose"));
#ifdef _WIN64
        stack[0] = caller.Rip;
        context.Rip = function;
        context.Rsp = reinterpret_cast<ULONG_PTR>(stack);
#else
        stack[0] = caller.Ebp;
        stack[1] = caller.Eip;
        context.Eip = function;
        context.Ebp = reinterpret_cast<ULONG_PTR>(stack);
        context.Esp = context.Ebp;
#endif
    }
    CallOfSystemFunction(const CallOfSystemFunction&) = delete;
    CallOfSystemFunction& operator=(const CallOfSystemFunction&) = delete;
};

TEST(TopFrameLocation, OfAFrameWithoutLineIsTheFixedPlaceWhateverCalledIt) {
    CONTEXT caller = {};
    testsupport::captureThisFunction(&caller);
    const CallOfSystemFunction call(caller);
    std::wstring trace;
    AppendStackTrace(trace, &call.context, 2);
    ASSERT_THAT(trace, HasSubstr(L" -> exceptiontranslation_test.cpp:")) << "the caller has a line";
    const TopFrameLocation location(&call.context);
    EXPECT_EQ(location.file, L"exceptionhandling");
    EXPECT_EQ(location.line, 92u);
}

TEST(TopFrameLocation, OfNoContextIsTheFixedPlace) {
    const TopFrameLocation location(nullptr);
    EXPECT_EQ(location.file, L"exceptionhandling");
    EXPECT_EQ(location.line, 92u);
}

#if !defined(_MSC_VER)

TEST(TranslateStructuredException, LeavesTheCompilersOwnExceptionsAlone) {
    EXCEPTION_RECORD record = {};
    EXCEPTION_POINTERS pointers = {&record, nullptr};
    for (const DWORD code : {0x20474343u, 0x21474343u, 0x22474343u}) {
        record.ExceptionCode = code;
        EXPECT_NO_THROW(TranslateStructuredException(code, &pointers));
    }
}

TEST(TranslateStructuredException, WithoutPointersThrowsWhateverTheCode) {
    EXPECT_THROW(TranslateStructuredException(0x20474343, nullptr), SehException);
}

using Translator = void(__cdecl*)(unsigned int, EXCEPTION_POINTERS*);

// Sets the translator of the system's run time and returns the previous one.
Translator Exchange(Translator translator) {
    const char* const name = sizeof(void*) == 8
                                 ? "?_set_se_translator@@YAP6AXIPEAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z"
                                 : "?_set_se_translator@@YAP6AXIPAU_EXCEPTION_POINTERS@@@ZP6AXI0@Z@Z";
    const auto set = reinterpret_cast<Translator(__cdecl*)(Translator)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleW(L"msvcrt.dll"), name)));
    return set(translator);
}

TEST(InstallStructuredExceptionTranslator, SetsTheTranslatorOfTheSystemsRunTime) {
    EXPECT_TRUE(InstallStructuredExceptionTranslator());
    EXPECT_EQ(Exchange(nullptr), TranslateStructuredException);
}

#endif

} // namespace
} // namespace keyreap
