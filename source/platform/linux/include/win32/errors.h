// Error codes and the calling thread's last error.
//
// Every call that fails sets the last error; a call that succeeds leaves it alone unless its
// declaration says otherwise.
#pragma once

#include "types.h"

constexpr DWORD ERROR_SUCCESS = 0;
constexpr DWORD ERROR_INVALID_FUNCTION = 1;
constexpr DWORD ERROR_FILE_NOT_FOUND = 2;
constexpr DWORD ERROR_PATH_NOT_FOUND = 3;
constexpr DWORD ERROR_TOO_MANY_OPEN_FILES = 4;
constexpr DWORD ERROR_ACCESS_DENIED = 5;
constexpr DWORD ERROR_INVALID_HANDLE = 6;
constexpr DWORD ERROR_NOT_ENOUGH_MEMORY = 8;
constexpr DWORD ERROR_INVALID_DATA = 13;
constexpr DWORD ERROR_NOT_SAME_DEVICE = 17;
constexpr DWORD ERROR_WRITE_PROTECT = 19;
constexpr DWORD ERROR_NOT_READY = 21;
constexpr DWORD ERROR_BAD_LENGTH = 24;
constexpr DWORD ERROR_GEN_FAILURE = 31;
constexpr DWORD ERROR_SHARING_VIOLATION = 32;
constexpr DWORD ERROR_HANDLE_EOF = 38;
constexpr DWORD ERROR_NOT_SUPPORTED = 50;
constexpr DWORD ERROR_BAD_NETPATH = 53;
constexpr DWORD ERROR_FILE_EXISTS = 80;
constexpr DWORD ERROR_INVALID_PARAMETER = 87;
constexpr DWORD ERROR_BROKEN_PIPE = 109;
constexpr DWORD ERROR_BUFFER_OVERFLOW = 111;
constexpr DWORD ERROR_DISK_FULL = 112;
constexpr DWORD ERROR_SEM_TIMEOUT = 121;
constexpr DWORD ERROR_INSUFFICIENT_BUFFER = 122;
constexpr DWORD ERROR_INVALID_NAME = 123;
constexpr DWORD ERROR_MOD_NOT_FOUND = 126;
constexpr DWORD ERROR_PROC_NOT_FOUND = 127;
constexpr DWORD ERROR_WAIT_NO_CHILDREN = 128;
constexpr DWORD ERROR_NEGATIVE_SEEK = 131;
constexpr DWORD ERROR_SEEK_ON_DEVICE = 132;
constexpr DWORD ERROR_DIR_NOT_EMPTY = 145;
constexpr DWORD ERROR_BAD_PATHNAME = 161;
constexpr DWORD ERROR_BUSY = 170;
constexpr DWORD ERROR_ALREADY_EXISTS = 183;
constexpr DWORD ERROR_INVALID_EXE_SIGNATURE = 191;
constexpr DWORD ERROR_BAD_EXE_FORMAT = 193;
constexpr DWORD ERROR_FILENAME_EXCED_RANGE = 206;
constexpr DWORD ERROR_FILE_TOO_LARGE = 223;
constexpr DWORD ERROR_BAD_PIPE = 230;
constexpr DWORD ERROR_PIPE_BUSY = 231;
constexpr DWORD ERROR_NO_DATA = 232;
constexpr DWORD ERROR_PIPE_NOT_CONNECTED = 233;
constexpr DWORD ERROR_MORE_DATA = 234;
constexpr DWORD ERROR_NO_WORK_DONE = 235;
constexpr DWORD WAIT_TIMEOUT = 258;
constexpr DWORD ERROR_DIRECTORY = 267;
constexpr DWORD ERROR_NOT_OWNER = 288;
constexpr DWORD ERROR_MR_MID_NOT_FOUND = 317;
constexpr DWORD ERROR_ARITHMETIC_OVERFLOW = 534;
constexpr DWORD ERROR_PIPE_CONNECTED = 535;
constexpr DWORD ERROR_PIPE_LISTENING = 536;
constexpr DWORD ERROR_OPERATION_ABORTED = 995;
constexpr DWORD ERROR_IO_INCOMPLETE = 996;
constexpr DWORD ERROR_IO_PENDING = 997;
constexpr DWORD ERROR_NOACCESS = 998;
constexpr DWORD ERROR_INVALID_FLAGS = 1004;
constexpr DWORD ERROR_NO_UNICODE_TRANSLATION = 1113;
constexpr DWORD ERROR_IO_DEVICE = 1117;
constexpr DWORD ERROR_POSSIBLE_DEADLOCK = 1131;
constexpr DWORD ERROR_TOO_MANY_LINKS = 1142;
constexpr DWORD ERROR_NOT_FOUND = 1168;
constexpr DWORD ERROR_CONNECTION_REFUSED = 1225;
constexpr DWORD ERROR_DISK_QUOTA_EXCEEDED = 1295;
constexpr DWORD ERROR_UNKNOWN_REVISION = 1305;
constexpr DWORD ERROR_INVALID_ACL = 1336;
constexpr DWORD ERROR_INVALID_SECURITY_DESCR = 1338;
constexpr DWORD ERROR_NO_SYSTEM_RESOURCES = 1450;
constexpr DWORD ERROR_FUNCTION_FAILED = 1627;
constexpr DWORD ERROR_RESOURCE_DATA_NOT_FOUND = 1812;
constexpr DWORD ERROR_RESOURCE_TYPE_NOT_FOUND = 1813;
constexpr DWORD ERROR_CANT_RESOLVE_FILENAME = 1921;

extern "C"
{
    DWORD GetLastError() noexcept;
    void SetLastError(DWORD code) noexcept;

    /// Raises a structured exception. No guard can catch one on Linux: the exception is written to
    /// the system log and the process ends by SIGABRT, as an unhandled one ends it on Windows.
    [[noreturn]] void RaiseException(DWORD code, DWORD flags, DWORD argumentCount, const ULONG_PTR* arguments) noexcept;
}

constexpr DWORD EXCEPTION_NONCONTINUABLE = 1;
constexpr int EXCEPTION_EXECUTE_HANDLER = 1;
