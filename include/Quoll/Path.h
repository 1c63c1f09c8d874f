/// @file
/// Path arithmetic, and what the platform tells about a path.
#pragma once

#include "Quoll/Api.h"
#include "Quoll/WideString.h"
#include "Quoll/WindowsTypes.h"

#include <cstdint>

namespace Quoll::Utilities
{

/// Takes paths apart, puts them together, and asks the platform about them.
///
///     using namespace Quoll::Literals;
///     const WString log = Path::Combine("C:\\logs"_w, "service.txt"_w);    // C:\logs\service.txt
///     Path::GetDirectory(log);                                             // C:\logs
///     Path::InsertBeforeExtension(log, '_', 3);                            // C:\logs\service_3.txt
///
/// Paths are wide text, and a unit is 16 bits. No operation changes case, trims white space or looks whether a unit
/// may stand in a name: lone surrogates, by which Linux names that aren't UTF-8 are spelled, and NULs pass through.
/// Texts are compared unit by unit. What counts as a separator differs by operation:
/// - a backslash only: AddBackslash, Combine, GetDirectory, GetExtension, RemoveExtension, InsertBeforeExtension,
///   IsUNCRootPath, MakeCanonical, NormalizeNTPath;
/// - a backslash or a forward slash: GetFileName;
/// - either of them behind the colon, but only two backslashes at the beginning of a network path: IsAbsolutePath,
///   IsLocalPath, IsLocalRootPath.
///
/// The rules are the same on both targets. On Linux a host's own path such as `/home/x` is therefore relative here;
/// NativePath gives it the spelling `C:\home\x`. Operations that ask the platform take both, and what a path names
/// there stands at NativePath. They take a path up to its first NUL.
///
/// Operations on text alone allocate memory for their result and nothing else, and take linear time.
///
/// Threads: all operations are reentrant. Failures: std::bad_alloc may come from any operation, and what else is
/// thrown stands at the operation; nothing else is. A FileSystemException carries the path as it was given.
class QUOLL_API Path
{
public:
    /// An object holds nothing; all operations are static.
    Path() noexcept = default;
    /// Does nothing.
    Path(const Path& other) noexcept = default;
    /// Does nothing.
    Path& operator=(const Path& other) noexcept;
    /// Does nothing.
    Path& operator=(Path&& other) noexcept;

    /// @name Parts
    /// @{

    /// Appends a backslash unless the path is empty or ends in one. A forward slash at the end doesn't count.
    static void AddBackslash(WString& path);

    /// The two sides with one backslash between them.
    ///
    /// If one side is empty, the other. If both have the backslash, the first unit of the right side is dropped: one
    /// that begins with two keeps one. The sides aren't looked at otherwise: a right side that is absolute is appended
    /// like any other.
    static WString Combine(WStringView left, WStringView right);

    /// What stands before the last backslash; empty if there is none. `C:\` gives `C:`.
    static WString GetDirectory(WStringView path);

    /// What stands behind the last separator; the whole path if there is none.
    static WString GetFileName(WStringView path);

    /// The last dot and what follows it; empty if there is no dot behind the last backslash.
    ///
    /// A name that ends in a dot gives the dot, and `.hidden` gives all of itself. `C:/a.b/c` gives `.b/c`.
    static WString GetExtension(WStringView path);

    /// The path without its GetExtension.
    static WString RemoveExtension(WStringView path);

    /// RemoveExtension, the unit, the text and GetExtension. `log.txt` with `_` and `old` gives `log_old.txt`.
    static WString InsertBeforeExtension(WStringView path, WChar separator, WStringView text);

    /// The same with a number in decimal digits, with a minus sign if it is negative.
    static WString InsertBeforeExtension(WStringView path, WChar separator, std::int32_t number);

    /// The drive of a path, two units such as `C:`: the path has one if its second unit is a colon, whatever the first.
    /// @throws FileSystemException  "Unable to get drive": the path, up to its first NUL, has none
    static WString GetDrive(const WString& path);

    /// The path without a leading `\\?\` if the sixth unit is a colon, as in `\\?\C:\x`; else, as for
    /// `\\?\UNC\server\share`, the path as it is.
    /// @throws std::out_of_range  "invalid string position": the path begins with `\\?\` and has less than six units
    static WString RemoveLongPathIdentifier(WStringView path);
    /// @}

    /// @name Kinds
    /// @{

    /// Whether the path has three units or more and begins with two backslashes, or its second unit is a colon and its
    /// third a separator.
    static bool IsAbsolutePath(WStringView path) noexcept;

    /// Whether the second unit is a colon and the third, if there is one, a separator.
    static bool IsLocalPath(WStringView path) noexcept;

    /// IsLocalPath with at most three units.
    static bool IsLocalRootPath(WStringView path) noexcept;

    /// Whether the path is a network path of a share and nothing below it: `\\server\share` and `\\server\share\`,
    /// and `\\server\` as well.
    static bool IsUNCRootPath(WStringView path) noexcept;

    /// IsLocalRootPath or IsUNCRootPath.
    static bool IsRootPath(WStringView path) noexcept;
    /// @}

    /// @name Whole paths
    /// @{

    /// The path without its "." and ".." segments, up to its first NUL; empty if that has 260 units or more.
    ///
    /// Nothing is looked up. Each "." goes with the backslash behind it, and each ".." takes the segment before it
    /// along, but nothing of the root: a backslash at the beginning, `C:\`, `\\server`, or what stands for a drive or a
    /// server behind `\\?\` and `\\?\UNC\`. Then dots at the end of the path go, but one behind a "*"; a drive alone,
    /// `C:` or `\\?\C:`, gets its backslash; and of nothing a backslash is left. A forward slash is a unit like any
    /// other. A relative path may come out with a backslash at its beginning: `a\..\b` gives `\b`.
    static WString MakeCanonical(const WString& path);

    /// The path if it IsAbsolutePath, else the path Combined with GetModuleDirectory: the current directory never
    /// counts. An empty path gives the module directory.
    /// @throws Win32Exception  as GetModuleFullPath
    static WString MakeFullPath(WStringView path);

    /// The long form of the path of an existing file. On Linux names have no other form, and it is the path as given.
    /// @throws FileSystemException  "GetLongPathName": no such file, or the platform can't tell
    static WString ExpandPath(const WString& path);

    /// The 8.3 form of the path of an existing file; the path as given where there is none, as on Linux.
    /// @throws FileSystemException  "GetShortPathName": no such file, or the platform can't tell
    static WString ShortenPath(const WString& path);
    /// @}

    /// @name Attributes
    /// The platform's FILE_ATTRIBUTE_ bits. On Linux FILE_ATTRIBUTE_READONLY (1) of a file is the lack of any right to
    /// write, and bits that the host doesn't have are kept beside the file where its file system can.
    /// @{

    /// The bits of a file or folder; 0xFFFFFFFF (INVALID_FILE_ATTRIBUTES) with the last error if they can't be read.
    /// The cheap way to ask whether something exists.
    static std::uint32_t GetAttributes(const WString& path) noexcept;

    /// Sets exactly these bits.
    /// @throws FileSystemException  "SetFileAttributes failed"
    static void SetAttributes(const WString& path, std::uint32_t mask);

    /// Adds the bits of the mask if none of them is set. Nothing is done, and nothing thrown, where the attributes
    /// can't be read, unless the mask is 0.
    /// @throws FileSystemException  "SetFileAttributes failed"
    static void SetAttribute(const WString& path, std::uint32_t mask);

    /// Takes the bits of the mask away if one of them is set. Nothing is done, and nothing thrown, where the attributes
    /// can't be read.
    /// @throws FileSystemException  "SetFileAttributes failed"
    static void RemoveAttribute(const WString& path, std::uint32_t mask);

    /// SetAttribute with FILE_ATTRIBUTE_READONLY.
    /// @throws FileSystemException  "SetFileAttributes failed"
    static void SetReadOnlyAttribute(const WString& path);

    /// RemoveAttribute with FILE_ATTRIBUTE_READONLY.
    /// @throws FileSystemException  "SetFileAttributes failed"
    static void RemoveReadOnlyAttribute(const WString& path);
    /// @}

    /// @name Names of the kernel
    /// Between `C:\folder\file` and `\Device\HarddiskVolume1\folder\file`. On Linux `C:` is the one drive, and that is
    /// its device.
    /// @{

    /// What the drive, all up to the first colon behind the first unit, is mapped to, and what follows the colon as it
    /// stands. An empty path gives an empty one. A drive with several mappings gives all of them, a NUL between two.
    /// @throws FileSystemException  "Can't convert NT path. Invalid path: ": there is no such colon
    /// @throws FileSystemException  "Could not get size of nt path": the platform knows no such drive, or its mappings
    ///                              have more than 258 units
    static WString ConvertToNTPath(const WString& path);

    /// The drive, `A:` to `Z:`, whose first mapping is all that stands before the third backslash, Combined with all
    /// that stands behind it. Case counts. An empty path gives an empty one.
    /// @throws FileSystemException  "Can't normalize NT path. Can't find third slash": there is none, as in a path that
    ///                              names a device alone
    /// @throws FileSystemException  "Can't resolve NT path": no drive is mapped to the device
    static WString NormalizeNTPath(const WString& ntPath);
    /// @}

    /// @name Places
    /// @{

    /// The file of a module, null for the program itself. On Linux all links in it are followed.
    /// @throws Win32Exception  "Can't get full path": the handle is none of a module
    static WString GetModuleFullPath(HMODULE module);

    /// The file of this library or of the program itself.
    /// @throws Win32Exception  "Can't get full path"
    static WString GetModuleFullPath(bool ofThisLibrary);

    /// GetDirectory of this library's file.
    /// @throws Win32Exception  as GetModuleFullPath
    static WString GetModuleDirectory();

    /// GetFileName of the program's file.
    /// @throws Win32Exception  as GetModuleFullPath
    static WString GetProcessName();

    /// The folder of the system; on Linux `C:\Windows`, below which hardly anything exists.
    /// @throws std::runtime_error  "Cannot get the system root directory"
    static WString GetSystemRootDirectory();
    /// @}

protected:
    /// The module that holds this library's code.
    static HMODULE GetImageBase() noexcept;
};

} // namespace Quoll::Utilities
