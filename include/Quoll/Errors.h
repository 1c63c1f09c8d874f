/// @file
/// The exceptions by which the library reports failure.
///
/// All derive from std::exception and give a byte text by what(). A function of the library that
/// returns bool means an expected "no" by false, never a fault. Exceptions of the standard classes,
/// std::bad_alloc first, pass through the library unchanged.
///
/// Codes are those of Windows on both targets. The text of a code is the system's on Windows, in its
/// language and its ANSI code page, and our own English one in UTF-8 on Linux; both end in CR LF,
/// which stays. std::system_error::code() of the classes that have it gives the code in a category of
/// the library's own, named "win32", on both targets.
///
/// The classes are plain values. Those that read the calling thread's last error do so first of all;
/// build them before another call can change it. Constructors and copies throw nothing but
/// std::bad_alloc unless they say so.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <exception>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <system_error>

namespace Quoll::Utilities
{

/// A call of the platform failed.
///
/// what() is the context message, ": " and the code's text; without ": " if the context is empty. For
/// a code without a text it is "context: unknown error. Error Code: 99999", with the code in decimal,
/// or bare "unknown error" if the context is empty. A context ends at its first NUL.
class QUOLL_API Win32Exception : public std::system_error
{
public:
    /// Takes the code from the calling thread's last error.
    explicit Win32Exception(const std::string& message);

    /// Takes the code given.
    Win32Exception(const std::string& message, std::uint32_t errorCode);

    /// Copies code and text.
    Win32Exception(const Win32Exception& other);
    /// Moves code and text.
    Win32Exception(Win32Exception&& other) noexcept;
    /// Copies code and text.
    Win32Exception& operator=(const Win32Exception& other);
    /// Moves code and text.
    Win32Exception& operator=(Win32Exception&& other) noexcept;
    ~Win32Exception() override;

    /// The composed text.
    const char* what() const noexcept override;

    /// The Windows error code.
    std::uint32_t GetErrorCode() const noexcept;

    /// The low word of `result` if it is exactly 0x80070000 (so 0), else 0 for 0, and 1627
    /// (ERROR_FUNCTION_FAILED) for all other values: 0x80070005 gives 1627, too.
    static std::uint32_t Win32FromHRESULT(std::int32_t result) noexcept;

private:
    std::uint32_t m_errorCode;
    std::string m_message;
};

/// A call failed that reports by HRESULT.
///
/// what() is "context. Error Code: 0x80070005": always eight upper-case digits. A context ends at its
/// first NUL.
class QUOLL_API HResultException : public std::exception
{
public:
    /// Composes the text.
    HResultException(const std::string& message, std::int32_t errorCode);

    /// Copies code and text.
    HResultException(const HResultException& other);
    /// Moves code and text.
    HResultException(HResultException&& other) noexcept;
    /// Copies code and text.
    HResultException& operator=(const HResultException& other);
    /// Moves code and text.
    HResultException& operator=(HResultException&& other) noexcept;
    ~HResultException() override;

    /// The composed text.
    const char* what() const noexcept override;

    /// The HRESULT.
    std::int32_t GetErrorCode() const noexcept;

private:
    std::int32_t m_errorCode;
    std::string m_message;
};

/// An operation on a file or a folder failed.
///
/// GetErrorMessage() is the text that Win32Exception has up to the code's text ("unknown error" gets
/// no number), a blank, the first path, a blank, the second path; both blanks are always there. what()
/// is the same with "?" for every unit above 127.
///
/// Paths are the library's wide text and may hold anything, undecodable bytes of host names included.
/// path1() and path2() of the standard base give them as the host has them; for a path that names no
/// file of the host, or that the standard library can't print, they give the path with "?" for every
/// unit above 127.
///
/// The constructors and GetErrorMessage throw ConversionException if message and code's text aren't
/// UTF-8 (on Windows the code's text comes in the ANSI code page).
class QUOLL_API FileSystemException : public std::filesystem::filesystem_error
{
public:
    /// Takes the code from the calling thread's last error; the second path is empty.
    FileSystemException(const std::string& message, const WString& path);

    /// Takes the code given; the second path is empty.
    FileSystemException(const std::string& message, const WString& path, std::uint32_t errorCode);

    /// Takes the code from the calling thread's last error.
    FileSystemException(const std::string& message, const WString& path, const WString& secondPath);

    /// Takes the code given.
    FileSystemException(const std::string& message, const WString& path, const WString& secondPath,
                        std::uint32_t errorCode);

    /// Copies paths, code and text.
    FileSystemException(const FileSystemException& other);
    /// Copies paths, code and text.
    FileSystemException& operator=(const FileSystemException& other);
    ~FileSystemException() override;

    /// The ASCII form of the text.
    const char* what() const noexcept override;

    /// The whole text, composed anew by each call.
    virtual WString GetErrorMessage() const;

private:
    std::string m_baseText;
    WString m_path;
    WString m_secondPath;
    std::string m_message;
};

struct ConversionFailure; // the library's own: what failed

/// A text can't be converted from one encoding to another. Only the library makes such exceptions.
///
/// what() shows every byte of the source as a signed decimal number, with nothing between the
/// numbers: "MultiByteToWideChar error. Can't convert bytes: 97-1. from UTF-8 to UTF-16".
class QUOLL_API ConversionException : public std::exception
{
public:
    /// Copies the text.
    ConversionException(const ConversionException& other);
    /// Copies the text.
    ConversionException& operator=(const ConversionException& other);
    ~ConversionException() override;

    /// The composed text.
    const char* what() const noexcept override;

private:
    friend ConversionFailure;

    // A template that is always inlined: no constructor is exported.
    template<typename Failure>
    [[gnu::always_inline]] inline explicit ConversionException(const Failure& failure);

    std::string m_message;
};

/// The text of a data filter is invalid. what() is the text given.
class QUOLL_API DataFilterException : public std::runtime_error
{
public:
    /// Takes the text.
    explicit DataFilterException(const std::string& message);
    /// Copies the text.
    DataFilterException(const DataFilterException& other) noexcept;
    /// Copies the text.
    DataFilterException& operator=(const DataFilterException& other) noexcept;
    ~DataFilterException() override;
};

/// The text of a data pagination is invalid. what() is the text given.
class QUOLL_API DataPaginationException : public std::runtime_error
{
public:
    /// Takes the text.
    explicit DataPaginationException(const std::string& message);
    /// Copies the text.
    DataPaginationException(const DataPaginationException& other) noexcept;
    /// Copies the text.
    DataPaginationException& operator=(const DataPaginationException& other) noexcept;
    ~DataPaginationException() override;
};

/// A calculation with big numbers has no result. what() is the text given.
class QUOLL_API MathError : public std::exception
{
public:
    /// Takes a NUL-terminated text; null reads "Unknown exception".
    explicit MathError(const char* message);
    /// Copies the text.
    MathError(const MathError& other) noexcept;
    /// Copies the text.
    MathError& operator=(const MathError& other) noexcept;
    ~MathError() override;

    /// The text given.
    const char* what() const noexcept override;

private:
    std::runtime_error m_message; // a text that can be copied without failing
};

/// An RSA operation failed.
///
/// The text is had from the class itself: a handler that catches std::exception gets that class's
/// fixed text and nothing of ours.
class QUOLL_API RsaError : public std::exception
{
public:
    /// Takes a NUL-terminated text; null reads "Unknown exception".
    explicit RsaError(const char* message);
    /// Copies the text.
    RsaError(const RsaError& other);
    /// Moves the text.
    RsaError(RsaError&& other) noexcept;
    /// Copies the text.
    RsaError& operator=(const RsaError& other);
    /// Moves the text.
    RsaError& operator=(RsaError&& other) noexcept;
    ~RsaError() override;

    /// A copy of the text given. As a template it can't override std::exception::what(), and any
    /// argument but the default one is meaningless.
    template<typename Text = std::string>
    Text what() const
    {
        return m_message;
    }

private:
    std::string m_message;
};

} // namespace Quoll::Utilities

namespace Quoll::Communication
{

/// The connection of a pipe is gone already.
/// what() is "Client connection is already closed", ": " and the text given.
class QUOLL_API ClosedConnectionException : public std::runtime_error
{
public:
    /// Takes the detail.
    explicit ClosedConnectionException(const std::string& message);
    /// Copies the text.
    ClosedConnectionException(const ClosedConnectionException& other) noexcept;
    /// Copies the text.
    ClosedConnectionException& operator=(const ClosedConnectionException& other) noexcept;
    ~ClosedConnectionException() override;
};

} // namespace Quoll::Communication
