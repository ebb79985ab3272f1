#include "platform/core/compiler.h"
#include "platform/core/exceptionhandling.h"
#include "platform/core/exceptionpresenter.h"
#include "platform/core/message.h"
#include "platform/core/messageids.h"
#include "platform/core/stacktrace/stacktrace.h"
#include "platform/core/text/bstrtext.h"
#include "tests/support/failingallocation.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <typeinfo>
#include <utility>

namespace keyreap {
namespace {

using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;

const std::wstring raisingFile = L"C:\\source\\keyreap\\raiser.cpp";
const std::wstring compositionFailed = L"An exception was thrown while composing the exception message.";
const std::wstring header(StackTraceHeader);

std::size_t CountOf(std::wstring_view text, std::wstring_view part) {
    std::size_t count = 0;
    for (auto place = text.find(part); place != text.npos; place = text.find(part, place + part.size())) {
        ++count;
    }
    return count;
}

// An error object that returns its description in the way that the test wants.
class ErrorInfo : public IErrorInfo {
public:
    enum class Answer { text, null, failure, exception };

    explicit ErrorInfo(Answer answer, std::wstring_view text = {}) : answer(answer), text(text) {}

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void**) override { return E_NOINTERFACE; }
    ULONG STDMETHODCALLTYPE AddRef() override { return ++references; }
    ULONG STDMETHODCALLTYPE Release() override { return --references; }
    HRESULT STDMETHODCALLTYPE GetGUID(GUID*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetSource(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpFile(BSTR*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetHelpContext(DWORD*) override { return E_NOTIMPL; }
    HRESULT STDMETHODCALLTYPE GetDescription(BSTR* description) override {
        *description = nullptr;
        switch (answer) {
        case Answer::text:
            *description = SysAllocStringLen(text.data(), static_cast<UINT>(text.size()));
            return S_OK;
        case Answer::null:
            return S_OK;
        case Answer::failure:
            return E_FAIL;
        case Answer::exception:
            break;
        }
        throw 5;
    }

    ULONG references = 0;

private:
    Answer answer;
    std::wstring text;
};

std::wstring ComMessage(HRESULT result, IErrorInfo* errorInfo) {
    WindowsException exception(raisingFile, 1);
    exception.SetComError(_com_error(result, errorInfo, true));
    EXPECT_EQ(exception.ErrorCode(), static_cast<std::uint32_t>(result));
    return exception.Message();
}

template <typename Thrown>
void ExpectRethrownAs(const Exception& exception) {
    try {
        exception.Rethrow();
    } catch (const Exception& caught) {
        EXPECT_EQ(typeid(caught), typeid(Thrown));
        EXPECT_NE(&caught, &exception);
        EXPECT_EQ(caught.Message(), exception.Message());
        EXPECT_EQ(caught.ErrorCode(), exception.ErrorCode());
        EXPECT_EQ(caught.SourceFile(), exception.SourceFile());
        EXPECT_EQ(caught.SourceLine(), exception.SourceLine());
        EXPECT_EQ(caught.GetKindName(), exception.GetKindName());
    }
}

// The message is the text with a whole trace after it.
void ExpectTraced(const std::wstring& message, const std::wstring& text) {
    EXPECT_THAT(message, StartsWith(text + header));
    EXPECT_THAT(message, EndsWith(L"MODULE_BASE_ADDRESS\r\n"));
}

TEST(Exception, WithoutAMessageIsEmptyAndHasTheDefaultCode) {
    const Exception exception(raisingFile, 44);
    EXPECT_EQ(exception.Message(), L"");
    EXPECT_EQ(exception.ErrorCode(), 0xE0010064U);
    EXPECT_EQ(exception.SourceFile(), raisingFile);
    EXPECT_EQ(exception.SourceLine(), 44U);
}

TEST(Exception, TakesAFinishedMessage) {
    const Exception exception(raisingFile, 176, L"Unknown exception");
    EXPECT_EQ(exception.Message(), L"Unknown exception");
    EXPECT_EQ(exception.ErrorCode(), 0xE0010064U);
    EXPECT_EQ(exception.SourceLine(), 176U);
}

TEST(Exception, ComposesAMessageOfTheProgramsStrings) {
    const Exception exception(raisingFile, 47, messageid::fileNotOpen, {L"C:\\o\\x.reg"});
    EXPECT_EQ(exception.Message(), FormatResourceString(messageid::fileNotOpen, {L"C:\\o\\x.reg"}));
    EXPECT_THAT(exception.Message(), HasSubstr(L"C:\\o\\x.reg"));
    EXPECT_EQ(exception.ErrorCode(), 0xE0010064U);
    EXPECT_EQ(exception.SourceLine(), 47U);
}

TEST(Exception, AMissingStringIsReportedByTheFixedText) {
    const Exception exception(raisingFile, 1, 64000);
    EXPECT_THAT(exception.Message(), EndsWith(L"] while composing the message []."));
}

TEST(Exception, ACopyHasAllFourFields) {
    WindowsException original(raisingFile, 3);
    original.SetWin32Error(5);
    const Exception copy(original);
    EXPECT_EQ(copy.Message(), original.Message());
    EXPECT_EQ(copy.ErrorCode(), 5U);
    EXPECT_EQ(copy.SourceFile(), raisingFile);
    EXPECT_EQ(copy.SourceLine(), 3U);
    EXPECT_EQ(copy.GetKind(), ExceptionKind::EXCEPTION_GENERIC);
}

TEST(Exception, EachClassHasItsKind) {
    EXPECT_EQ(Exception(raisingFile, 1).GetKind(), ExceptionKind::EXCEPTION_GENERIC);
    EXPECT_EQ(WindowsException(raisingFile, 1).GetKind(), ExceptionKind::EXCEPTION_WIN32);
    EXPECT_EQ(SehException(raisingFile, 1, SehKind::SEH_GENERIC, L"").GetKind(),
              ExceptionKind::EXCEPTION_SEH);
}

TEST(Exception, TheKindNameIsThatOfTheKind) {
    EXPECT_EQ(Exception(raisingFile, 1).GetKindName(), L"EXCEPTION_GENERIC");
    EXPECT_EQ(WindowsException(raisingFile, 1).GetKindName(), L"EXCEPTION_WIN32");
}

TEST(SehException, TheKindNameIsThatOfTheStructuredException) {
    const SehException exception(raisingFile, 9, SehKind::SEH_AV_WRITE_BADPTR, L"text");
    EXPECT_EQ(exception.GetKindName(), L"SEH_AV_WRITE_BADPTR");
    EXPECT_EQ(exception.GetKind(), ExceptionKind::EXCEPTION_SEH);
    EXPECT_EQ(exception.GetSehKind(), SehKind::SEH_AV_WRITE_BADPTR);
    EXPECT_EQ(exception.ErrorCode(), 0xE0010064U);
    EXPECT_EQ(exception.Message(), L"text");
    EXPECT_EQ(exception.SourceLine(), 9U);
}

TEST(SetWin32Error, PutsTheCodeInDecimalBeforeTheSystemsText) {
    WindowsException exception(raisingFile, 1);
    exception.SetWin32Error(2);
    EXPECT_EQ(exception.ErrorCode(), 2U);
    EXPECT_EQ(exception.Message(), L"Win32 Error [2]: \"" + GetSystemErrorText(2) + L"\"");
    EXPECT_THAT(exception.Message(), EndsWith(L" \""));
}

TEST(SetWin32Error, TheCodeZeroHasTheFullFormToo) {
    WindowsException exception(raisingFile, 1);
    exception.SetWin32Error(0);
    EXPECT_EQ(exception.ErrorCode(), 0U);
    EXPECT_EQ(exception.Message(), L"Win32 Error [0]: \"" + GetSystemErrorText(0) + L"\"");
}

TEST(SetWin32Error, AnHresultIsAnUnsignedNumber) {
    WindowsException exception(raisingFile, 1);
    exception.SetWin32Error(static_cast<std::uint32_t>(E_FAIL));
    EXPECT_THAT(exception.Message(), StartsWith(L"Win32 Error [2147500037]: \""));
}

TEST(SetWin32Error, TakesTheResultOfAnAtlException) {
    WindowsException exception(raisingFile, 1);
    exception.SetWin32Error(static_cast<std::uint32_t>(HRESULT(CAtlException(E_OUTOFMEMORY))));
    EXPECT_EQ(exception.ErrorCode(), static_cast<std::uint32_t>(E_OUTOFMEMORY));
}

TEST(SetComError, TakesTheDescriptionOfTheErrorObject) {
    ErrorInfo errorInfo(ErrorInfo::Answer::text, L"No such class");
    EXPECT_EQ(ComMessage(E_FAIL, &errorInfo), L"Win32 COM Error [2147500037]: { No such class }");
    EXPECT_EQ(errorInfo.references, 0U);
}

TEST(SetComError, ADescriptionOfOneCharacterIsEnough) {
    ErrorInfo errorInfo(ErrorInfo::Answer::text, L" ");
    EXPECT_EQ(ComMessage(E_FAIL, &errorInfo), L"Win32 COM Error [2147500037]: {   }");
}

TEST(SetComError, WithoutADescriptionIsAWin32Error) {
    const std::wstring win32Form =
        L"Win32 Error [2147500037]: \"" + GetSystemErrorText(static_cast<std::uint32_t>(E_FAIL)) + L"\"";
    ErrorInfo empty(ErrorInfo::Answer::text, L"");
    ErrorInfo null(ErrorInfo::Answer::null);
    ErrorInfo failing(ErrorInfo::Answer::failure);
    EXPECT_EQ(ComMessage(E_FAIL, &empty), win32Form);
    EXPECT_EQ(ComMessage(E_FAIL, &null), win32Form);
    EXPECT_EQ(ComMessage(E_FAIL, &failing), win32Form);
    EXPECT_EQ(ComMessage(E_FAIL, nullptr), win32Form);
    EXPECT_EQ(empty.references + null.references + failing.references, 0U);
}

TEST(MessageComposition, AnExceptionFromTheErrorObjectBecomesTheFixedText) {
    ErrorInfo throwing(ErrorInfo::Answer::exception);
    WindowsException exception(raisingFile, 7);
    exception.SetWin32Error(5);
    exception.SetComError(_com_error(E_FAIL, &throwing, true));
    EXPECT_EQ(exception.Message(), compositionFailed);
    EXPECT_EQ(exception.ErrorCode(), 5U) << "the code that was stored before stays";
    EXPECT_EQ(exception.SourceLine(), 7U);
    EXPECT_EQ(throwing.references, 0U);
}

TEST(MessageComposition, AFailureInSetWin32ErrorBecomesTheFixedText) {
    WindowsException exception(raisingFile, 1);
    testsupport::FailNextAllocations(1);
    exception.SetWin32Error(5);
    EXPECT_EQ(exception.Message(), compositionFailed);
    EXPECT_EQ(exception.ErrorCode(), 5U);
}

TEST(MessageComposition, WithoutMemoryForTheFixedTextEitherTheMessageIsEmpty) {
    WindowsException exception(raisingFile, 1);
    exception.SetWin32Error(2);
    testsupport::FailNextAllocations(2);
    exception.SetWin32Error(5);
    EXPECT_EQ(exception.Message(), L"");
    EXPECT_EQ(exception.ErrorCode(), 5U);
}

TEST(MessageComposition, AFailureWithAMessageIdentifierBecomesTheFixedText) {
    std::wstring file = raisingFile;
    testsupport::FailNextAllocations(1);
    const Exception exception(std::move(file), 50, messageid::writeFailed);
    EXPECT_EQ(exception.Message(), compositionFailed);
    EXPECT_EQ(exception.ErrorCode(), 0xE0010064U);
    EXPECT_EQ(exception.SourceFile(), raisingFile);
    EXPECT_EQ(exception.SourceLine(), 50U);
}

TEST(Rethrow, ThrowsACopyOfTheObjectsOwnClass) {
    ExpectRethrownAs<Exception>(Exception(raisingFile, 1, L"text"));
    WindowsException windowsException(raisingFile, 2);
    windowsException.SetWin32Error(5);
    ExpectRethrownAs<WindowsException>(windowsException);
    ExpectRethrownAs<SehException>(SehException(raisingFile, 3, SehKind::SEH_AV_READ_NULLPTR, L"text"));
}

template <typename Class>
bool IsExactly(const Exception& exception) {
    return typeid(exception) == typeid(Class);
}

TEST(Clone, IsAnObjectOfTheSameClassWithItsData) {
    WindowsException windowsException(raisingFile, 2);
    windowsException.SetWin32Error(5);
    const auto windowsClone = windowsException.Clone(false);
    EXPECT_TRUE(IsExactly<WindowsException>(*windowsClone));
    EXPECT_EQ(windowsClone->Message(), windowsException.Message());
    EXPECT_EQ(windowsClone->ErrorCode(), 5U);
    EXPECT_EQ(windowsClone->SourceFile(), raisingFile);
    EXPECT_EQ(windowsClone->SourceLine(), 2U);

    const auto sehClone = SehException(raisingFile, 3, SehKind::SEH_AV_DEP_NULLPTR, L"text").Clone(false);
    EXPECT_TRUE(IsExactly<SehException>(*sehClone));
    EXPECT_EQ(sehClone->GetKindName(), L"SEH_AV_DEP_NULLPTR");
    EXPECT_EQ(sehClone->Message(), L"text");
    EXPECT_EQ(sehClone->SourceLine(), 3U);
}

TEST(Clone, OfAPlainExceptionHasTheDefaultCode) {
    WindowsException windowsException(raisingFile, 2);
    windowsException.SetWin32Error(5);
    const Exception copy(windowsException);
    const auto clone = copy.Clone(false);
    EXPECT_TRUE(IsExactly<Exception>(*clone));
    EXPECT_EQ(clone->ErrorCode(), 0xE0010064U);
    EXPECT_EQ(clone->Message(), windowsException.Message());
}

TEST(Clone, WithoutTheFlagHasNoTrace) {
    try {
        throw Exception(raisingFile, 1, L"text");
    } catch (const Exception& caught) {
        EXPECT_EQ(caught.Clone(false)->Message(), L"text");
    }
}

TEST(Clone, WithTheFlagAppendsTheTraceOfTheHandledException) {
    try {
        throw Exception(raisingFile, 1, L"text");
    } catch (const Exception& caught) {
        const std::wstring message = caught.Clone(true)->Message();
        EXPECT_EQ(caught.Message(), L"text");
        ExpectTraced(message, L"text");
        EXPECT_GT(CountOf(message, L"[0x"), 2U);
    }
}

TEST(Clone, WithTheFlagAppendsTheTraceInEveryClass) {
    WindowsException windowsException(raisingFile, 1);
    windowsException.SetWin32Error(5);
    const SehException sehException(raisingFile, 1, SehKind::SEH_GENERIC, L"text");
    try {
        throw 1;
    } catch (int) {
        ExpectTraced(windowsException.Clone(true)->Message(), windowsException.Message());
        ExpectTraced(sehException.Clone(true)->Message(), L"text");
    }
}

TEST(Clone, AMessageThatHoldsATraceGetsNoSecond) {
    const std::wstring traced = L"text" + header + L"[0x0000000000000000]  -----\r\n";
    try {
        throw Exception(raisingFile, 1, traced);
    } catch (const Exception& caught) {
        EXPECT_EQ(caught.Clone(true)->Message(), traced);
    }
}

TEST(Clone, WithNoExceptionInHandlingThereIsNoTrace) {
    EXPECT_EQ(Exception(raisingFile, 1, L"text").Clone(true)->Message(), L"text");
}

TEST(GetPresenter, IsOneForTheProcess) {
    const ExceptionPresenter* const presenter = &Exception(raisingFile, 1).GetPresenter();
    EXPECT_EQ(&WindowsException(raisingFile, 1).GetPresenter(), presenter);
    EXPECT_EQ(&SehException(raisingFile, 1, SehKind::SEH_GENERIC, L"").GetPresenter(), presenter);
}

TEST(SourceLocationText, IsTheFilesLastComponentAndTheLine) {
    EXPECT_EQ(SourceLocationText(Exception(L"C:\\source\\a.cpp", 176)), L"a.cpp:176");
    EXPECT_EQ(SourceLocationText(Exception(L"exceptionhandling", 92)), L"exceptionhandling:92");
    EXPECT_EQ(SourceLocationText(Exception(L"folder/a.cpp", 1)), L"folder/a.cpp:1");
    EXPECT_EQ(SourceLocationText(Exception(L"folder\\", 4294967295)), L":4294967295");
    EXPECT_EQ(SourceLocationText(Exception(L"", 0)), L":0");
}

} // namespace
} // namespace keyreap
