// The few platform types that the library's interface speaks of.
//
// On Windows they are forward declarations that agree with the SDK's own, so that a client may
// include <windows.h> before or after this header, or never; a client that looks into one of
// the records includes <windows.h>. Elsewhere the records are complete here.
#pragma once

#include <cstdint>

struct HINSTANCE__;
struct SC_HANDLE__;

using HMODULE = HINSTANCE__*;
using SC_HANDLE = SC_HANDLE__*;

#if defined(_WIN32)

struct _FILETIME;
struct _SYSTEMTIME;
struct _OVERLAPPED;
struct _EXCEPTION_POINTERS;
struct _ACL;

using HANDLE = void*;
using FILETIME = _FILETIME;
using SYSTEMTIME = _SYSTEMTIME;
using OVERLAPPED = _OVERLAPPED;
using EXCEPTION_POINTERS = _EXCEPTION_POINTERS;
using ACL = _ACL;

#else

using HANDLE = void*;

/// An access control list; what it holds is the platform layer's own.
struct ACL;

/// 100-nanosecond ticks since 1601-01-01 UTC, in two halves.
struct FILETIME
{
    std::uint32_t dwLowDateTime;
    std::uint32_t dwHighDateTime;
};

struct SYSTEMTIME
{
    std::uint16_t wYear;
    std::uint16_t wMonth;
    std::uint16_t wDayOfWeek;
    std::uint16_t wDay;
    std::uint16_t wHour;
    std::uint16_t wMinute;
    std::uint16_t wSecond;
    std::uint16_t wMilliseconds;
};

/// State of one overlapped operation. `Internal` is a status, 0x103 while the operation is
/// pending; `InternalHigh` counts the bytes.
struct OVERLAPPED
{
    std::uintptr_t Internal;
    std::uintptr_t InternalHigh;
    void* Pointer; // the offset of file operations
    HANDLE hEvent;
};

constexpr int EXCEPTION_MAXIMUM_PARAMETERS = 15;

/// What was thrown: code, flags and argument words of a structured exception.
struct EXCEPTION_RECORD
{
    std::uint32_t ExceptionCode;
    std::uint32_t ExceptionFlags;
    EXCEPTION_RECORD* ExceptionRecord;
    void* ExceptionAddress;
    std::uint32_t NumberParameters;
    std::uintptr_t ExceptionInformation[EXCEPTION_MAXIMUM_PARAMETERS];
};

/// The machine state at a structured exception. The names are those of a 64-bit machine.
struct CONTEXT
{
    std::uint32_t ContextFlags;
    std::uint16_t SegCs;
    std::uint16_t SegSs;
    std::uint32_t EFlags;
    std::uint64_t Rax;
    std::uint64_t Rcx;
    std::uint64_t Rdx;
    std::uint64_t Rbx;
    std::uint64_t Rsp;
    std::uint64_t Rbp;
    std::uint64_t Rsi;
    std::uint64_t Rdi;
    std::uint64_t Rip;
};

struct EXCEPTION_POINTERS
{
    EXCEPTION_RECORD* ExceptionRecord;
    CONTEXT* ContextRecord;
};

#endif
