#pragma once

#include "platform/core/exceptionkind.h"

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

class _com_error; // NOLINT(bugprone-reserved-identifier): the name that comdef.h gives it

namespace keyreap {

class Exception;
class ExceptionPresenter;

// The root of all exceptions that report a failure. They are thrown by value and caught by reference. It has
// no virtual destructor of its own: objects are owned as Exception.
class IException {
public:
    // Throws a copy of the object as its own class.
    [[noreturn]] virtual void Rethrow() const = 0;

    // A copy of the object's own class. With `withStackTrace` its message also has the trace of the exception
    // that the thread is handling, unless the message already has one or no trace is available.
    virtual std::unique_ptr<Exception> Clone(bool withStackTrace) const = 0;

    virtual ExceptionKind GetKind() const = 0;

protected:
    IException() = default;
    IException(const IException&) = default;
    IException& operator=(const IException&) = default;
    ~IException() = default;
};

// A failure with a finished message and the place that raised it.
class Exception : public IException {
public:
    // The error code of every exception without a system code.
    static constexpr std::uint32_t defaultErrorCode = 0xE0010064;

    // The message is empty.
    Exception(std::wstring sourceFile, std::uint32_t sourceLine);

    Exception(std::wstring sourceFile, std::uint32_t sourceLine, std::wstring message);

    // The message is the program's string `messageId` with the inserts (FormatResourceString). If composing
    // it fails, the message is a fixed text and nothing is thrown.
    Exception(std::wstring sourceFile, std::uint32_t sourceLine, std::uint32_t messageId,
              const std::vector<std::wstring>& inserts = {});

    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<Exception> Clone(bool withStackTrace) const override;
    ExceptionKind GetKind() const override;
    virtual ~Exception() = default;

    // The name of GetKind(), or a more exact name if the class has one.
    virtual std::wstring GetKindName() const;

    // The presenter of the process, created on first use.
    virtual ExceptionPresenter& GetPresenter() const;

    // The full text. It may contain a stack trace, which starts with StackTraceHeader (stacktracetext.h).
    const std::wstring& Message() const { return message; }

    // A Win32 code or an HRESULT for a WindowsException, otherwise defaultErrorCode.
    std::uint32_t ErrorCode() const { return errorCode; }

    // The source file that raised the exception, and the line in it.
    const std::wstring& SourceFile() const { return sourceFile; }
    std::uint32_t SourceLine() const { return sourceLine; }

protected:
    // The message for a clone.
    std::wstring ClonedMessage(bool withStackTrace) const;

    std::wstring message;
    std::uint32_t errorCode = defaultErrorCode;
    std::wstring sourceFile;
    std::uint32_t sourceLine = 0;
};

// A failure that the system or a COM object reported. The message setters throw nothing: if composing fails,
// the message is a fixed text.
class WindowsException : public Exception {
public:
    WindowsException(std::wstring sourceFile, std::uint32_t sourceLine);

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<Exception> Clone(bool withStackTrace) const override;
    ExceptionKind GetKind() const override;

    // Sets a Win32 code or an HRESULT, and the system's text for it. The text shows the code in unsigned
    // decimal.
    void SetWin32Error(std::uint32_t code);

    // Sets the error's HRESULT and the description of its error object, or the system's text if there is no
    // description.
    void SetComError(const _com_error& error);
};

// A structured exception of the platform. Its code is only in the text.
class SehException : public Exception {
public:
    SehException(std::wstring sourceFile, std::uint32_t sourceLine, SehKind kind, std::wstring message);

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<Exception> Clone(bool withStackTrace) const override;
    ExceptionKind GetKind() const override;

    // The name of the SehKind.
    std::wstring GetKindName() const override;

    SehKind GetSehKind() const { return sehKind; }

private:
    SehKind sehKind;
};

// The place that raised an exception, such as "file.cpp:176": the file without its folders.
std::wstring SourceLocationText(const Exception& exception);

} // namespace keyreap
