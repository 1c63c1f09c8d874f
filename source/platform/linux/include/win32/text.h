// Text: conversion, messages, debugger output.
#pragma once

#include "types.h"

constexpr UINT CP_ACP = 0; // UTF-8 on Linux
constexpr UINT CP_UTF8 = 65001;
constexpr DWORD MB_ERR_INVALID_CHARS = 8;
constexpr DWORD WC_ERR_INVALID_CHARS = 0x80;

constexpr DWORD FORMAT_MESSAGE_ALLOCATE_BUFFER = 0x100;
constexpr DWORD FORMAT_MESSAGE_IGNORE_INSERTS = 0x200;
constexpr DWORD FORMAT_MESSAGE_FROM_STRING = 0x400;
constexpr DWORD FORMAT_MESSAGE_FROM_SYSTEM = 0x1000;

extern "C"
{
    // Code pages CP_UTF8 and CP_ACP, which are one here; others give ERROR_INVALID_PARAMETER. A negative
    // length stands for text that ends in NUL; the NUL is converted, too. Ill-formed input becomes
    // U+FFFD, one for each maximal subpart, or is ERROR_NO_UNICODE_TRANSLATION with the flag
    // ..._ERR_INVALID_CHARS, the only one there is (others: ERROR_INVALID_FLAGS).
    int MultiByteToWideChar(UINT codePage, DWORD flags, LPCSTR text, int length, LPWSTR wide, int capacity) noexcept;
    int WideCharToMultiByte(UINT codePage, DWORD flags, LPCWSTR wide, int length, LPSTR text, int capacity,
                            LPCSTR defaultChar, BOOL* usedDefault) noexcept;

    /// The four flags above; others, and the width in the low byte, give ERROR_INVALID_PARAMETER. The
    /// arguments are a list, never an array, of texts, pointers and integers; those that `*` takes
    /// come right before their insert's own. `l` is the long of C. The system's texts are English
    /// whatever the language. Texts above 128 KiB aren't allocated (ERROR_MORE_DATA), an
    /// empty one is ERROR_NO_WORK_DONE.
    DWORD FormatMessageW(DWORD flags, LPCVOID source, DWORD message, DWORD language, LPWSTR buffer, DWORD size,
                         va_list* arguments) noexcept;

    /// Goes to the system log at debug level.
    void OutputDebugStringW(LPCWSTR text) noexcept;
}
