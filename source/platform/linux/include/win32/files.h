// Files and folders by name, and the calls on their handles.
//
// A name is understood as PathToNative has it: both separators, C: as the root. "." and ".." are taken
// out before the host sees the name, except behind "\\?\"; links are followed, except by DeleteFileW.
// A name behind a missing folder is ERROR_PATH_NOT_FOUND, a missing name ERROR_FILE_NOT_FOUND, and so is
// a link that leads nowhere; links in a circle are ERROR_CANT_RESOLVE_FILENAME. Pipes of other kinds,
// sockets and devices other than /dev/null aren't opened (ERROR_ACCESS_DENIED).
//
// FILE_ATTRIBUTE_READONLY of a file is the lack of any right to write in its mode; root is refused,
// too. FILE_ATTRIBUTE_ARCHIVE is set unless it was taken away. What a mode can't hold is kept in the
// extended attribute "user.quoll.attributes".
//
// Share modes hold among the processes that use this layer, and end with the process that asked for
// them, however it ends. Other programs know nothing of them: they read, write, rename and delete as
// the host lets them. A program that has locked the whole file by fcntl counts as one that shares nothing.
#pragma once

#include "handles.h"

constexpr DWORD GENERIC_READ = 0x80000000;
constexpr DWORD GENERIC_WRITE = 0x40000000;
constexpr DWORD GENERIC_EXECUTE = 0x20000000;
constexpr DWORD GENERIC_ALL = 0x10000000;
constexpr DWORD DELETE = 0x10000;
constexpr DWORD SYNCHRONIZE = 0x100000;
constexpr DWORD FILE_READ_DATA = 0x1;
constexpr DWORD FILE_WRITE_DATA = 0x2;
constexpr DWORD FILE_APPEND_DATA = 0x4;
constexpr DWORD FILE_EXECUTE = 0x20;
constexpr DWORD FILE_READ_ATTRIBUTES = 0x80;
constexpr DWORD FILE_WRITE_ATTRIBUTES = 0x100;
constexpr DWORD FILE_LIST_DIRECTORY = 0x1;
constexpr DWORD FILE_GENERIC_READ = 0x120089;
constexpr DWORD FILE_GENERIC_WRITE = 0x120116;
constexpr DWORD FILE_GENERIC_EXECUTE = 0x1200A0;
constexpr DWORD FILE_ALL_ACCESS = 0x1F01FF;

constexpr DWORD FILE_SHARE_READ = 1;
constexpr DWORD FILE_SHARE_WRITE = 2;
constexpr DWORD FILE_SHARE_DELETE = 4;

constexpr DWORD CREATE_NEW = 1;
constexpr DWORD CREATE_ALWAYS = 2;
constexpr DWORD OPEN_EXISTING = 3;
constexpr DWORD OPEN_ALWAYS = 4;
constexpr DWORD TRUNCATE_EXISTING = 5;

constexpr DWORD FILE_ATTRIBUTE_READONLY = 0x1;
constexpr DWORD FILE_ATTRIBUTE_HIDDEN = 0x2;
constexpr DWORD FILE_ATTRIBUTE_SYSTEM = 0x4;
constexpr DWORD FILE_ATTRIBUTE_DIRECTORY = 0x10;
constexpr DWORD FILE_ATTRIBUTE_ARCHIVE = 0x20;
constexpr DWORD FILE_ATTRIBUTE_DEVICE = 0x40; // neither file nor folder
constexpr DWORD FILE_ATTRIBUTE_NORMAL = 0x80;
constexpr DWORD FILE_ATTRIBUTE_TEMPORARY = 0x100;
constexpr DWORD FILE_ATTRIBUTE_COMPRESSED = 0x800;
constexpr DWORD FILE_ATTRIBUTE_OFFLINE = 0x1000;
constexpr DWORD FILE_ATTRIBUTE_NOT_CONTENT_INDEXED = 0x2000;
constexpr DWORD FILE_ATTRIBUTE_ENCRYPTED = 0x4000;
constexpr DWORD INVALID_FILE_ATTRIBUTES = 0xFFFFFFFF;

constexpr DWORD FILE_FLAG_BACKUP_SEMANTICS = 0x02000000;
constexpr DWORD FILE_FLAG_SEQUENTIAL_SCAN = 0x08000000; // a hint
constexpr DWORD FILE_FLAG_RANDOM_ACCESS = 0x10000000;   // a hint
constexpr DWORD FILE_FLAG_OVERLAPPED = 0x40000000;
constexpr DWORD FILE_FLAG_WRITE_THROUGH = 0x80000000;

constexpr DWORD FILE_BEGIN = 0;
constexpr DWORD FILE_CURRENT = 1;
constexpr DWORD FILE_END = 2;
constexpr DWORD INVALID_FILE_SIZE = 0xFFFFFFFF;
constexpr DWORD INVALID_SET_FILE_POINTER = 0xFFFFFFFF;

constexpr DWORD MOVEFILE_REPLACE_EXISTING = 0x1;
constexpr DWORD MOVEFILE_COPY_ALLOWED = 0x2;
constexpr DWORD MOVEFILE_DELAY_UNTIL_REBOOT = 0x4;
constexpr DWORD MOVEFILE_WRITE_THROUGH = 0x8;
constexpr DWORD MOVEFILE_CREATE_HARDLINK = 0x10;
constexpr DWORD MOVEFILE_FAIL_IF_NOT_TRACKABLE = 0x20;

constexpr int MAX_PATH = 260;

constexpr DWORD FILE_TYPE_UNKNOWN = 0;
constexpr DWORD FILE_TYPE_DISK = 1;
constexpr DWORD FILE_TYPE_CHAR = 2;
constexpr DWORD FILE_TYPE_PIPE = 3;

enum GET_FILEEX_INFO_LEVELS
{
    GetFileExInfoStandard
};

struct WIN32_FILE_ATTRIBUTE_DATA
{
    DWORD dwFileAttributes;
    FILETIME ftCreationTime; // of a file system that doesn't note it: the time of the last write
    FILETIME ftLastAccessTime;
    FILETIME ftLastWriteTime;
    DWORD nFileSizeHigh;
    DWORD nFileSizeLow;
};

extern "C"
{
    /// Opens a file, a folder (with FILE_FLAG_BACKUP_SEMANTICS) or a pipe's client end. The last error
    /// of success is 0, or ERROR_ALREADY_EXISTS where CREATE_ALWAYS or OPEN_ALWAYS found a file.
    ///
    /// Files: overlapped operations complete at once. Flags other than the ones above, a pattern for a
    /// new file and the right MAXIMUM_ALLOWED are ERROR_NOT_SUPPORTED. A descriptor with a null list
    /// gives everybody the right to read and write a new file; other new files get the mode that the
    /// process's mask leaves.
    ///
    /// Pipes: for overlapped use, by OPEN_EXISTING. Where no instance is free the call waits a tenth of
    /// a second for one before it fails with ERROR_PIPE_BUSY: a server makes the next instance when the
    /// last one has got its client, and those who come at once would lose that race again and again.
    HANDLE CreateFileW(LPCWSTR name, DWORD access, DWORD shareMode, LPSECURITY_ATTRIBUTES attributes, DWORD disposition,
                       DWORD flags, HANDLE pattern) noexcept;
    BOOL ReadFile(HANDLE file, LPVOID buffer, DWORD size, LPDWORD read, LPOVERLAPPED overlapped) noexcept;
    /// A disk that fills up is a failure; `written` then tells how much there was room for. So is a limit for the size
    /// of files that the process had when it opened the file: ERROR_FILE_TOO_LARGE, and the signal that the host sends
    /// then reaches nobody.
    BOOL WriteFile(HANDLE file, LPCVOID buffer, DWORD size, LPDWORD written, LPOVERLAPPED overlapped) noexcept;
    /// Of files; a pipe's handle is ERROR_NOT_SUPPORTED.
    BOOL FlushFileBuffers(HANDLE file) noexcept;
    DWORD GetFileType(HANDLE file) noexcept;

    DWORD GetFileSize(HANDLE file, LPDWORD high) noexcept;
    BOOL GetFileSizeEx(HANDLE file, PLARGE_INTEGER size) noexcept;
    DWORD SetFilePointer(HANDLE file, LONG distance, PLONG high, DWORD method) noexcept;
    BOOL SetFilePointerEx(HANDLE file, LARGE_INTEGER distance, PLARGE_INTEGER position, DWORD method) noexcept;
    BOOL SetEndOfFile(HANDLE file) noexcept;

    BOOL GetFileTime(HANDLE file, LPFILETIME creation, LPFILETIME lastAccess, LPFILETIME lastWrite) noexcept;
    /// A time of creation can't be set: ERROR_NOT_SUPPORTED. A time of 0 stands for no change.
    BOOL SetFileTime(HANDLE file, const FILETIME* creation, const FILETIME* lastAccess,
                     const FILETIME* lastWrite) noexcept;

    DWORD GetFileAttributesW(LPCWSTR name) noexcept;
    BOOL GetFileAttributesExW(LPCWSTR name, GET_FILEEX_INFO_LEVELS level, LPVOID data) noexcept;
    /// Taking FILE_ATTRIBUTE_READONLY away gives the owner the right to write. On a file system without
    /// extended attributes, the ones kept there are ERROR_NOT_SUPPORTED, and ARCHIVE stays set.
    BOOL SetFileAttributesW(LPCWSTR name, DWORD attributes) noexcept;

    /// The name is gone at once; handles that share deletion keep the file itself until they are closed.
    BOOL DeleteFileW(LPCWSTR name) noexcept;
    BOOL CreateDirectoryW(LPCWSTR name, LPSECURITY_ATTRIBUTES attributes) noexcept;
    BOOL RemoveDirectoryW(LPCWSTR name) noexcept;

    /// The content, the attributes and the time of the last write. A new file may be read, written and run by no
    /// more users than the source, nor than the process's mask leaves. After a failure there is no copy.
    BOOL CopyFileW(LPCWSTR source, LPCWSTR target, BOOL failIfExists) noexcept;

    // A link is moved itself. Within a file system the name changes in one step. From one to another, which is
    // all within the one drive, MoveFileW and MOVEFILE_COPY_ALLOWED copy a file with its owner (if the caller may
    // give files away), rights, access list, extended attributes and times but that of its creation, and delete
    // it then. What the target's file system can't hold is a failure, and after any failure the source is
    // whole and the target what it was. Where the source can't be deleted any more, the call succeeds and leaves
    // it, as documented; but rights that are lacking from the start are ERROR_ACCESS_DENIED. Folders don't go from one
    // file system to another (ERROR_ACCESS_DENIED). A folder isn't moved into itself: ERROR_SHARING_VIOLATION.
    BOOL MoveFileW(LPCWSTR source, LPCWSTR target) noexcept;
    /// Without MOVEFILE_COPY_ALLOWED another file system is ERROR_NOT_SAME_DEVICE. A target that is read-only or a
    /// folder, or that anybody has open, isn't replaced: ERROR_ACCESS_DENIED. MOVEFILE_DELAY_UNTIL_REBOOT and
    /// MOVEFILE_CREATE_HARDLINK are ERROR_NOT_SUPPORTED. No links are tracked, so MOVEFILE_FAIL_IF_NOT_TRACKABLE is
    /// always met.
    BOOL MoveFileExW(LPCWSTR source, LPCWSTR target, DWORD flags) noexcept;

    /// The folder that TMPDIR names, if its name is absolute and the process isn't privileged, or else "C:\tmp\".
    /// The length without the NUL, or the capacity needed.
    DWORD GetTempPathW(DWORD capacity, LPWSTR buffer) noexcept;
    /// Makes an empty file that only its owner may read, unless a number is given. `name` has room for MAX_PATH
    /// units.
    UINT GetTempFileNameW(LPCWSTR folder, LPCWSTR prefix, UINT number, LPWSTR name) noexcept;
}
