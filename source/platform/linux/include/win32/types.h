// The base types, with the widths they have on Windows.
#pragma once

#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"

#include <cstdarg>
#include <cstddef>
#include <cstdint>

#define WINAPI
#define CALLBACK

using BOOL = int;
using BYTE = std::uint8_t;
using WORD = std::uint16_t;
using DWORD = std::uint32_t;
using LONG = std::int32_t;
using ULONG = std::uint32_t;
using UINT = std::uint32_t;
using PUINT = UINT*;
using LONGLONG = std::int64_t;
using ULONGLONG = std::uint64_t;

/// The whole number alone; the SDK's halves aren't used.
union LARGE_INTEGER {
    LONGLONG QuadPart;
};
using PLARGE_INTEGER = LARGE_INTEGER*;
using ULONG_PTR = std::uintptr_t;
using SIZE_T = std::size_t;
using HRESULT = std::int32_t;
using CHAR = char;
using WCHAR = Quoll::WChar;
using LPVOID = void*;
using LPCVOID = const void*;
using LPDWORD = DWORD*;
using PLONG = LONG*;
using LPFILETIME = FILETIME*;
using LPSTR = char*;
using LPCSTR = const char*;
using LPWSTR = WCHAR*;
using LPCWSTR = const WCHAR*;
using LPOVERLAPPED = OVERLAPPED*;
using HLOCAL = void*;
using HGLOBAL = void*;
using PSID = void*;
using FARPROC = std::intptr_t (*)();

static_assert(sizeof(DWORD) == 4 && sizeof(LONG) == 4 && sizeof(WCHAR) == 2);

constexpr BOOL FALSE = 0;
constexpr BOOL TRUE = 1;
constexpr DWORD INFINITE = 0xFFFFFFFF;

// NOLINTNEXTLINE(performance-no-int-to-ptr): the platform defines it as this bit pattern
inline const HANDLE INVALID_HANDLE_VALUE = reinterpret_cast<HANDLE>(static_cast<std::intptr_t>(-1));
