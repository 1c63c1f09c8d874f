/// @file
/// Whole files: probes, locks, copies, versions, names, and reading and writing all at once.
///
///     using namespace Quoll::Literals;
///     FileEncoding encoding = FileEncoding::Utf8NoBom;
///     WString text = File::ReadAllText("C:\\settings.txt"_w, encoding);
///     File::WriteAllText("C:\\settings.txt"_w, text + "\n"_w, encoding);
#pragma once

#include "Quoll/Api.h"
#include "Quoll/SharedHandle.h"
#include "Quoll/UtcTime.h"
#include "Quoll/Version.h"
#include "Quoll/WideString.h"

#include <cstdint>
#include <vector>

namespace Quoll::Utilities
{

/// How text stands in a file. A file without a mark is UTF-8 by definition.
enum class FileEncoding : std::int32_t
{
    Utf8NoBom = 0, ///< UTF-8 without a mark.
    Utf8Bom = 1,   ///< UTF-8 behind the mark EF BB BF.
    Utf16Le = 2,   ///< UTF-16, low byte first, behind the mark FF FE.
    Utf16Be = 3    ///< UTF-16, high byte first, behind the mark FE FF.
};

/// Static operations on whole files.
///
/// Nothing is cached, and no operation keeps a file open beyond its return but Lock. A write replaces the file in
/// place, without a temporary file; what was written before a failure stays. Folders are never read or written: where
/// a file is asked for they count as missing.
///
/// A path is taken up to its first NUL. What it names on Linux stands at NativePath. Symbolic links are followed,
/// except by Delete and Move, which take the link itself, and by IsCreatePermissonAvailable. On Linux pipes, sockets
/// and devices other than `/dev/null` can't be opened (code 5), and nothing waits for them; files that tell no size,
/// as those below `/proc`, are read whole as text and lines. A limit for the size of files (RLIMIT_FSIZE) that a
/// process has is a failure of writing like a full disk, with code 223; no signal ends the process.
///
/// On Linux sharing between opened files is an agreement among processes that use this library: another process
/// neither sees a lock nor is held back by one, and what it opens locks nobody out. Within the agreement a file is
/// free as soon as its holder ends, however it ends.
///
/// Text: conversions are strict. Half of a surrogate pair that stands alone, in UTF-8 also overlong forms and what
/// lies above U+10FFFF, ends the reading or writing of a text there, exactly behind the last good character, and
/// without an error. Reading and writing go through buffers of fixed size; memory for a result grows with what is
/// read, and an operation holds it twice at most.
///
/// Threads: all operations are reentrant. Failures: std::bad_alloc may come from any operation that returns or takes
/// text or bytes, and what else is thrown stands at the operation; nothing else is. A FileSystemException carries the
/// path as given and, unless a code is named, the last error of the call that failed, a Win32Exception likewise.
class QUOLL_API File
{
public:
    /// An object holds nothing; all operations are static.
    File() noexcept = default;
    /// Does nothing.
    File(const File& other) noexcept = default;
    /// Does nothing.
    File& operator=(const File& other) noexcept;
    /// Does nothing.
    File& operator=(File&& other) noexcept;

    /// @name State
    /// @{

    /// Whether there is something of that name, and it is no folder.
    static bool Exists(const WString& path) noexcept;

    /// Whether there is a file or a folder of that name.
    static bool ItemExists(const WString& path) noexcept;

    /// In bytes; 0 if it can't be told.
    static std::uint64_t GetSize(const WString& path) noexcept;

    /// When the file was made. On Linux, where the host doesn't tell, the time of its last change.
    /// @throws Win32Exception  "Can't get file attributes"
    static UtcTime GetCreationTime(const WString& path);

    /// When the content changed last.
    /// @throws Win32Exception  "Can't get file attributes"
    static UtcTime GetFileLastWriteTime(const WString& path);

    /// Whether the file system keeps the file encrypted; false if it can't be told.
    static bool IsEncrypted(const WString& path) noexcept;

    /// Whether opening the file for reading, with reading and writing shared, fails with a sharing violation (32). Any
    /// other failure, that of a missing file included, is false.
    static bool IsLocked(const WString& path) noexcept;

    /// Opens the file for reading and lets others only read: as long as the handle lives nobody opens it for writing,
    /// or deletes it.
    /// @throws Win32Exception  "Could not lock the binary before secure loading. File: " and the path, with "?" for
    ///                         every unit above 127
    static SharedHandle Lock(const WString& path);

    /// Whether a file can be made in the folder. It is tried: a new file with a name of eight digits and ".tmp" is
    /// made, and left there. The new file never replaces or follows what has its name.
    /// @throws std::runtime_error  "The provided folder is empty"
    static bool IsCreatePermissonAvailable(const WString& folder);

    /// False if there is no such file. True otherwise, even where it can't be opened: only false tells something.
    /// @throws std::runtime_error  "The provided filename is empty"
    static bool IsWritePermissonAvailable(const WString& fileName);
    /// @}

    /// @name Files as a whole
    /// @{

    /// Makes an empty file; one that exists is a failure (80).
    /// @throws Win32Exception  "Failed to create empty file!"
    static void CreateNewEmptyFile(const WString& path);

    /// Copies content, attributes and the time of the last write. After a failure there is no copy.
    /// @throws FileSystemException  "CopyFile failed.", with both paths; code 80 if the target exists and `overwrite`
    ///                              is false
    static void Copy(const WString& source, const WString& target, bool overwrite);

    /// Renames a file or a folder. `flags` are the platform's MOVEFILE_... bits; bits other than 1, 2, 4, 8, 16 and 32
    /// are dropped, and so is 8 (write through) beside 4 (at the next start).
    ///
    /// Without flags a file goes to another file system as well; with some of them it needs 2 (copying allowed) for
    /// that, or it fails with code 17. An empty target stands for none, which together with 4 means deletion.
    /// On Linux 4 and 16 (a hard link) fail with code 50.
    /// @throws std::runtime_error  "Delay until reboot can't be used in combination with copy allowed.": 2 and 4
    ///                             together; nothing has happened
    /// @throws FileSystemException  "MoveFile failed." without flags, "MoveFileEx failed." with some; with both paths
    static void Move(const WString& source, const WString& target, std::uint32_t flags);

    /// Deletes a file. A missing file (code 2) is no failure, a missing folder on the way (3) is one.
    /// @throws FileSystemException  "DeleteFile failed."
    static void Delete(const WString& path);
    /// @}

    /// @name Bytes
    /// @{

    /// The whole content, of the size that the file has when it is opened: files that tell no size give nothing.
    /// @throws FileSystemException  "CreateFile failed."; "Could not read, all bytes.", also if the file gets shorter
    ///                              meanwhile (code 38) and for one of 4 GiB or more (code 223)
    static std::vector<std::uint8_t> ReadAllBytes(const WString& path);

    /// Up to `count` bytes from `offset` on: fewer where the file ends, none behind its end, and at most 4096 of a file
    /// that tells no size. Nothing is opened for a count of 0.
    /// @throws FileSystemException  "CreateFile failed."; "Can't set file pointer", as for a negative offset;
    ///                              "Could not read, all bytes."
    static std::vector<std::uint8_t> ReadBytes(const WString& path, std::int32_t offset, std::uint32_t count);

    /// Replaces the content. Others may read meanwhile.
    /// @throws FileSystemException  "CreateFile failed."; "Could not write all bytes. FileName:", for 4 GiB or more
    ///                              (code 223) before anything is touched
    static void WriteAllBytes(const WString& path, std::vector<std::uint8_t> bytes);
    /// @}

    /// @name Text
    /// Files are opened without any restriction of sharing.
    /// @{

    /// Which mark the file begins with; Utf8NoBom without one. The content is not looked at: FF FE 00 00 is Utf16Le.
    /// @throws FileSystemException  "File does not exist" (code 2), "Cannot open the file"; the latter also if it can't
    ///                              be read
    static FileEncoding GetFileEncoding(const WString& path);

    /// The text behind the mark, up to the first sequence of bytes that isn't of the encoding. `encoding` becomes
    /// what GetFileEncoding tells, which opens the file by itself; that of an empty file is left as it is.
    /// @throws FileSystemException  "File does not exist" (code 2), "Cannot open the file"; the latter also if reading
    ///                              fails in the middle, so that no part is taken for the whole
    static WString ReadAllText(const WString& path, FileEncoding& encoding);

    /// Replaces the content by mark and text. An empty text leaves an empty file, without a mark. With an enumerator
    /// that isn't listed every unit becomes a byte, and one above 255 ends the writing. Whether the writing worked
    /// isn't told.
    /// @throws FileSystemException  "Cannot open the file"
    static void WriteAllText(const WString& path, const WString& text, FileEncoding encoding);

    /// The lines, each byte a unit. CR LF and LF end a line, any other CR is part of it, and 1A ends the text.
    /// Empty lines count; the last line needs no end. If the file can't be opened there are none, and if reading fails
    /// in the middle the lines end there.
    /// @throws FileSystemException  "File does not exist" (code 2)
    static std::vector<WString> ReadAllLines(const WString& path);

    /// Replaces the content by the lines, each unit a byte and CR LF for each LF and behind each line. A unit above 255
    /// ends the writing. Each line is handed to the platform by itself, so a writer that is killed leaves the lines
    /// before. Whether the file could be opened or written isn't told.
    static void WriteAllLines(const WString& path, std::vector<WString> lines);

    /// The lines of UTF-16, with the high byte first unless a mark says otherwise.
    ///
    /// The text is parted at each LF, and what stands between at each CR; the unit 1A ends it. So CR LF ends a line as
    /// LF does, a CR within a line parts it, and an empty line gives nothing unless it ends in a CR.
    /// @throws FileSystemException  "File does not exist" (code 2), "Cannot open the file"; the latter also if reading
    ///                              fails in the middle
    static std::vector<WString> ReadAllUnicodeLines(const WString& path);

    /// Replaces the content by the mark FF FE and the lines in UTF-16, low byte first, CR LF behind each. Units are
    /// written as they are. Whether the file could be opened or written isn't told.
    static void WriteAllUnicodeLines(const WString& path, std::vector<WString> lines);
    /// @}

    /// @name Versions
    /// The four parts of the file version that stands in a program's fixed version resource.
    /// @{

    /// The parts, of 16 bits each.
    /// @throws Win32Exception  "GetFileVersionInfo failed", code 1812 for a file without resources;
    ///                         "VerQueryValueW failed"
    static void GetVersion(const WString& path, std::uint32_t& major, std::uint32_t& minor, std::uint32_t& build,
                           std::uint32_t& revision);

    /// The four parts in the same order.
    /// @throws Win32Exception  as the other overload
    static Version GetVersion(const WString& path);

    /// The four parts in decimal, with dots between them.
    /// @throws Win32Exception  as GetVersion
    static WString GetVersionString(const WString& path);
    /// @}

    /// @name Names
    /// @{

    /// A new empty file in the folder for temporary files, which belongs to the caller.
    /// @throws Win32Exception  "GetTempPath failed.", "GetTempFileName failed."
    static WString GetTempFileNameW();

    /// The path of a file that isn't there: folder, `length` hexadecimal digits and `extension`, which brings its
    /// dot. The same seed gives the same name, on both targets, while the folder is the same; a name that exists is
    /// passed over for that of the next seed. Too short a length may leave no name, and the search never ends.
    ///
    /// On Windows this seeds the C runtime's generator of the calling thread.
    /// @throws std::runtime_error  "The provided path is empty", "The provided extension is empty"
    static WString GenerateNewFileName(const WString& folder, const WString& extension, std::uint32_t length,
                                       std::uint64_t seed);

    /// The same with an underscore and the digits before the extension of `path`.
    /// @throws std::runtime_error  "The provided path is empty"
    static WString GenerateNewFileNameFromExisting(const WString& path, std::uint32_t length, std::uint64_t seed);

    /// The file of the module in which the address lies; that of the program if nothing lies there at all.
    /// @throws Win32Exception  "VirtualQueryEx failed!", as for an address that no program can have; "Can't get full
    ///                         path", as for memory of no module
    static WString GetFileNameOfModule(const void* address);

    /// The process's executable file.
    /// @throws Win32Exception  "Can't get full path"
    static WString GetFileNameOfModule();
    /// @}
};

} // namespace Quoll::Utilities
