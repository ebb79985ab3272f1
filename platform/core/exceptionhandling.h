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

// The root of the failures that are reported by exception. They are thrown by value and caught by reference.
// It has no virtual destructor of its own: objects are owned as Exception.
class IException {
public:
    // Throws a copy of the object as its own class.
    [[noreturn]] virtual void Rethrow() const = 0;

    // A copy of the object's own class. With `withStackTrace` its message also has the trace of the exception
    // that the thread is handling, unless it holds one already or there is none to be had.
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
    // The error code of every exception that carries no code of the system.
    static constexpr std::uint32_t defaultErrorCode = 0xE0010064;

    // The message is empty.
    Exception(std::wstring raisingFile, std::uint32_t raisingLine);

    Exception(std::wstring raisingFile, std::uint32_t raisingLine, std::wstring finishedMessage);

    // The message is the program's string `messageId` with the inserts (FormatResourceString). Nothing is
    // thrown when composing it fails: a fixed text says so.
    Exception(std::wstring raisingFile, std::uint32_t raisingLine, std::uint32_t messageId,
              const std::vector<std::wstring>& inserts = {});

    Exception(const Exception&) = default;
    Exception& operator=(const Exception&) = default;

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<Exception> Clone(bool withStackTrace) const override;
    ExceptionKind GetKind() const override;
    virtual ~Exception() = default;

    // The name of GetKind(), or the more exact one that the class knows.
    virtual std::wstring GetKindName() const;

    // The presenter of the process, made on first use.
    virtual ExceptionPresenter& GetPresenter() const;

    // The full text; behind StackTraceHeader (stacktrace.h) it may hold a stack trace.
    const std::wstring& Message() const { return message; }

    // A Win32 code or an HRESULT for a WindowsException, else defaultErrorCode.
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

// A failure that the system or a COM object reported. The message setters throw nothing: when composing
// fails, a fixed text says so.
class WindowsException : public Exception {
public:
    WindowsException(std::wstring raisingFile, std::uint32_t raisingLine);

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<Exception> Clone(bool withStackTrace) const override;
    ExceptionKind GetKind() const override;

    // Takes a Win32 code or an HRESULT, and the system's text for it; both are shown in unsigned decimal.
    void SetWin32Error(std::uint32_t code);

    // Takes the error's HRESULT, and the description of its error object or else the system's text.
    void SetComError(const _com_error& error);
};

// A structured exception of the platform; its code stands in the text only.
class SehException : public Exception {
public:
    SehException(std::wstring raisingFile, std::uint32_t raisingLine, SehKind kind,
                 std::wstring finishedMessage);

    [[noreturn]] void Rethrow() const override;
    std::unique_ptr<Exception> Clone(bool withStackTrace) const override;
    ExceptionKind GetKind() const override;

    // The name of the SehKind.
    std::wstring GetKindName() const override;

    SehKind GetSehKind() const { return sehKind; }

private:
    SehKind sehKind;
};

// Where an exception was raised, for the reader: "file.cpp:176", the file without its folders.
std::wstring SourceLocationText(const Exception& exception);

} // namespace keyreap
